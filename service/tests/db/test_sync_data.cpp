#include "service_business/sync_data.h"

#include "local_http_server.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

namespace sync_data = service_business::data_manage::sync_data;
using transporter::DownloaderReqInfo;

TEST(SyncDataSwitchedOff, EveryTransferReportsFalseAndTouchesNoFile)
{
    QTemporaryDir home;
    ASSERT_TRUE(home.isValid());
    const QByteArray previous = qgetenv("SERVICE_BUSINESS_HOME");
    qputenv("SERVICE_BUSINESS_HOME", home.path().toLocal8Bit());
    EXPECT_FALSE(sync_data::downloadAppSetting());
    EXPECT_FALSE(sync_data::downloadBasis());
    EXPECT_FALSE(sync_data::downloadEnvSettingFile());
    EXPECT_FALSE(sync_data::downloadLocal(1));
    EXPECT_FALSE(sync_data::uploadAppSetting());
    EXPECT_FALSE(sync_data::uploadProfileSetting(1));
    EXPECT_TRUE(QDir(home.path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).isEmpty());
    qputenv("SERVICE_BUSINESS_HOME", previous);
}

TEST(SyncDataEnvelope, SuccessfulReplyYieldsItsDataAsJson)
{
    EXPECT_EQ(sync_data::getDownloadJsonData(QStringLiteral("{\"success\":true,\"data\":{\"sn\":\"A1\"}}")),
              "{\n    \"sn\": \"A1\"\n}");
    EXPECT_EQ(sync_data::getDownloadJsonData(QStringLiteral("{\"data\":[1,2],\"success\":true}")), "[\n    1,\n    2\n]");
}

TEST(SyncDataEnvelope, UnsuccessfulOrBrokenReplyYieldsEmptyText)
{
    EXPECT_TRUE(sync_data::getDownloadJsonData(QStringLiteral("{\"success\":false,\"data\":{\"sn\":\"A1\"}}")).isEmpty());
    EXPECT_TRUE(sync_data::getDownloadJsonData(QStringLiteral("{\"data\":{\"sn\":\"A1\"}}")).isEmpty());
    EXPECT_TRUE(sync_data::getDownloadJsonData(QStringLiteral("{\"success\":\"true\",\"data\":{}}")).isEmpty());
    EXPECT_TRUE(sync_data::getDownloadJsonData(QStringLiteral("{\"success\":true,\"data\":")).isEmpty());
    EXPECT_TRUE(sync_data::getDownloadJsonData(QString()).isEmpty());
}

TEST(SyncDataDownloadJson, ReturnsPayloadOfServerReply)
{
    LocalHttpServer server;
    ASSERT_TRUE(server.listening());
    server.respond("/settings/app", 200, "{\"success\":true,\"data\":{\"version\":\"2\"}}");
    server.respond("/settings/basis", 200, "{\"success\":false,\"data\":{\"version\":\"2\"}}");
    server.respond("/settings/env", 500, "{\"success\":true,\"data\":{}}");

    DownloaderReqInfo app(sync_data::appSettingUrl(server.url(QStringLiteral("/settings/"))));
    EXPECT_EQ(sync_data::downloadJson(&app), "{\n    \"version\": \"2\"\n}");
    DownloaderReqInfo basis(sync_data::basisSettingUrl(server.url(QStringLiteral("/settings/"))));
    EXPECT_TRUE(sync_data::downloadJson(&basis).isEmpty());
    DownloaderReqInfo env(sync_data::envSettingUrl(server.url(QStringLiteral("/settings/"))));
    EXPECT_TRUE(sync_data::downloadJson(&env).isEmpty());
    EXPECT_TRUE(sync_data::downloadJson(nullptr).isEmpty());
}

TEST(SyncDataUrls, ResourcePathsFollowTheBaseWithoutSeparators)
{
    const QString base = QStringLiteral("https://settings.example/v1/");
    EXPECT_EQ(sync_data::appSettingUrl(base), "https://settings.example/v1/app");
    EXPECT_EQ(sync_data::basisSettingUrl(base), "https://settings.example/v1/basis");
    EXPECT_EQ(sync_data::envSettingUrl(base), "https://settings.example/v1/env");
    EXPECT_EQ(sync_data::profileLocalUrl(QStringLiteral("B"), 3), "Bprofile/3/local");
}
