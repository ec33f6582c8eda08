// The settings sync is switched off; what is left is its reply envelope, its URLs and its download.
#include "service_business/sync_data.h"

#include "local_http_server.h"
#include "temp_home.h"
#include "qt_print.h"

#include <gtest/gtest.h>

#include <QDir>

namespace sync_data = service_business::data_manage::sync_data;
using transporter::DownloaderReqInfo;

TEST(SyncData, EveryTransferReportsFalseAndTouchesNoFile)
{
    const QDir home(test_support::homeDir());
    const QStringList before = home.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    EXPECT_FALSE(sync_data::downloadAppSetting() || sync_data::downloadBasis() || sync_data::downloadEnvSettingFile());
    EXPECT_FALSE(sync_data::downloadLocal(1) || sync_data::uploadAppSetting() || sync_data::uploadProfileSetting(1));
    EXPECT_EQ(home.entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot), before);
}

TEST(SyncData, ReplyYieldsItsDataOnlyWhenItSaysSuccessTrue)
{
    const std::pair<const char*, const char*> cases[] = {
        {R"({"success":true,"data":{"sn":"A1"}})", "{\n    \"sn\": \"A1\"\n}"},
        {R"({"data":[1,2],"success":true})", "[\n    1,\n    2\n]"},
        {R"({"success":false,"data":{"sn":"A1"}})", ""},
        {R"({"data":{"sn":"A1"}})", ""},
        {R"({"success":"true","data":{}})", ""},
        {R"({"success":true,"data":)", ""},
        {"", ""},
    };
    for (const auto& [reply, data] : cases) EXPECT_EQ(sync_data::getDownloadJsonData(QString::fromUtf8(reply)), data) << reply;
}

TEST(SyncData, DownloadReturnsThePayloadOfASuccessfulReply)
{
    LocalHttpServer server;
    ASSERT_TRUE(server.listening());
    server.respond("/settings/app", 200, R"({"success":true,"data":{"version":"2"}})");
    server.respond("/settings/basis", 200, R"({"success":false,"data":{"version":"2"}})");
    server.respond("/settings/env", 500, R"({"success":true,"data":{}})");
    const QString base = server.url(QStringLiteral("/settings/"));
    DownloaderReqInfo app(sync_data::appSettingUrl(base)), basis(sync_data::basisSettingUrl(base)), env(sync_data::envSettingUrl(base));
    EXPECT_EQ(sync_data::downloadJson(&app), "{\n    \"version\": \"2\"\n}");
    EXPECT_EQ(sync_data::downloadJson(&basis), QString());
    EXPECT_EQ(sync_data::downloadJson(&env), QString());
    EXPECT_EQ(sync_data::downloadJson(nullptr), QString());
    EXPECT_EQ(sync_data::profileLocalUrl(QStringLiteral("B/"), 3), "B/profile/3/local");
}
