// New profiles: the id they get, the files they start with, and what a failed add leaves behind.
#include "store_fixture.h"

#include "json_document_p.h"

#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"

#include "utility_business/log.h"

#include <QDir>

#include <cerrno>

using namespace utility_business;
using service_business::json_db::JsonDB;

namespace {

const char* const kDefaultLocal = R"({
    "username": "carol",
    "ksid": "k-3",
    "imageUrl": "",
    "mobile": "555",
    "restaurantNames": [
        "Gamma"
    ],
    "general": {
        "isLaunchAfterSystemStartupEnabled": true,
        "printerSettingsMode": "basis"
    },
    "printers": {
        "defaulePrinterProperties": {
            "width": "58mm",
            "copiesCountOfOrder": 1,
            "copiesCountOfDineOrder": 1,
            "copiesCountOfPhoneOrder": 1
        }
    }
}
)";

const char* const kDefaultRuntime = R"({
    "window_info": {
        "maximize": false,
        "zoom_level": 100,
        "x": 620,
        "y": 243,
        "width": 1000,
        "height": 631
    }
}
)";

ProfileInfo carol()
{
    ProfileInfo info;
    info.username = QStringLiteral("carol");
    info.ksid = QStringLiteral("k-3");
    info.mobile = QStringLiteral("555");
    info.restaurantNames = QStringList{QStringLiteral("Gamma")};
    return info;
}

ssize_t failingWrite(int, const void*, size_t)
{
    errno = EIO;
    return -1;
}
const json_save::FileOps kFailingDisk = {failingWrite, ::fsync};

}  // namespace

class NewProfile : public StoreTest {
protected:
    void SetUp() override
    {
        StoreTest::SetUp();
        writeFactoryFiles();
    }
    void TearDown() override
    {
        json_save::setFileOpsForTesting(nullptr);
        StoreTest::TearDown();
    }
};

TEST_F(NewProfile, WritesTheDefaultFilesAndListsTheProfile)
{
    EXPECT_EQ(JsonDB::updater()->addProfile(carol()), 1);

    EXPECT_EQ(readFile(QStringLiteral("Profiles/1/Settings-Local.json")), QLatin1String(kDefaultLocal));
    EXPECT_EQ(readFile(QStringLiteral("Profiles/1/Settings-Runtime.json")), QLatin1String(kDefaultRuntime));
    EXPECT_EQ(readFile(QStringLiteral("Settings-App.json")),
              factoryText(QStringLiteral("Settings-App.json"))
                  .replace(QStringLiteral("\"profiles\": {}"),
                           QStringLiteral("\"profiles\": {\n        \"1\": {\n            \"username\": \"carol\"\n        }\n    }")));
    EXPECT_EQ(JsonDB::browser()->profilesMap(), (QMap<int, QString>{{1, QStringLiteral("carol")}}));
}

TEST_F(NewProfile, TakesSmallestFreeIdAndClearsWhatIsLeftAtIt)
{
    writeFile(QStringLiteral("Settings-App.json"),
              QStringLiteral("{\"profiles\": {\"1\": {\"username\": \"a\"}, \"3\": {\"username\": \"c\"}}}"));
    writeProfile(1, QStringLiteral("a"));
    writeProfile(3, QStringLiteral("c"));
    writeFile(QStringLiteral("Profiles/2/Settings-Local.json"), QStringLiteral("{\"username\": \"stale\"}"));
    writeFile(QStringLiteral("Profiles/2/cache/stale.bin"), QStringLiteral("x"));
    writeFile(QStringLiteral("Profiles/4"), QStringLiteral("a file, not a directory"));

    EXPECT_EQ(JsonDB::updater()->addProfile(carol()), 2);

    EXPECT_EQ(QDir(appdataPath(QStringLiteral("Profiles/2"))).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden),
              (QStringList{QStringLiteral("Settings-Local.json"), QStringLiteral("Settings-Runtime.json")}));
    EXPECT_EQ(readFile(QStringLiteral("Profiles/2/Settings-Local.json")), QLatin1String(kDefaultLocal));
    EXPECT_EQ(JsonDB::browser()->profilesMap().keys(), (QList<int>{1, 2, 3}));
    EXPECT_EQ(JsonDB::updater()->addProfile(carol()), 4);
}

TEST_F(NewProfile, RollsBackAndReportsWhenItsFilesCannotBeSaved)
{
    JsonDB::db();
    json_save::setFileOpsForTesting(&kFailingDisk);
    log::Capture capture;

    EXPECT_EQ(JsonDB::updater()->addProfile(carol()), -1);

    EXPECT_TRUE(capture.contains("error", "failed to save profile json"));
    EXPECT_TRUE(JsonDB::browser()->profilesMap().isEmpty());
    EXPECT_FALSE(JsonDB::appDocument()->nodeExist({"profiles", "1"}));
    EXPECT_EQ(readFile(QStringLiteral("Settings-App.json")), factoryText(QStringLiteral("Settings-App.json")));

    json_save::setFileOpsForTesting(nullptr);
    EXPECT_EQ(JsonDB::updater()->addProfile(carol()), 1) << "the failed add leaves its id free";
}
