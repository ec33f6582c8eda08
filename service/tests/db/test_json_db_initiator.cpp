// Start-up of the store: what it loads, and what interrupted saves left behind.
#include "store_fixture.h"

#include "service_business/json_db.h"

#include <QDir>

using service_business::json_db::JsonDB;

using StoreStartUp = StoreTest;

TEST_F(StoreStartUp, LoadsTheProfilesTheAppFileLists)
{
    writeFile(QStringLiteral("Settings-App.json"), QStringLiteral("{\"profiles\": {\"2\": {}, \"1\": {}}}"));
    writeFile(QStringLiteral("Profiles/2/Settings-Local.json"), QStringLiteral("{\"username\": \"bob\"}"));
    writeFile(QStringLiteral("Profiles/2/Settings-Runtime.json"), QStringLiteral("{\"window_info\": {\"x\": 3}}"));
    writeFile(QStringLiteral("Profiles/1/Settings-Local.json"), QStringLiteral("not json"));
    writeProfile(5, QStringLiteral("unlisted"));

    EXPECT_EQ(JsonDB::profilesDocument()->toCompactString(),
              QStringLiteral(R"({"2":{"local":{"username":"bob"},"runtime":{"window_info":{"x":3}}},)"
                             R"("1":{"local":{},"runtime":{}}})"));
}

TEST_F(StoreStartUp, RemovesTemporariesOfInterruptedSavesOnly)
{
    writeFile(QStringLiteral("Settings-App.json"), QStringLiteral("{\"profiles\": {\"1\": {}}}"));
    writeProfile(1, QStringLiteral("alice"));
    writeFile(QStringLiteral(".Settings-App.json.tmp-Ab12Cd"), QStringLiteral("{\"half"));
    writeFile(QStringLiteral("Profiles/1/.Settings-Runtime.json.tmp-xY9zQ0"), QStringLiteral("{"));
    writeFile(QStringLiteral("Profiles/3/.Settings-Local.json.tmp-000000"), QStringLiteral("{"));
    writeFile(QStringLiteral("notes.tmp"), QStringLiteral("kept"));

    JsonDB::db();

    const auto names = [this](const QString& dir) {
        return QDir(appdataPath(dir)).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    };
    EXPECT_EQ(names(QString()), (QStringList{QStringLiteral("Settings-App.json"), QStringLiteral("notes.tmp")}));
    EXPECT_EQ(names(QStringLiteral("Profiles/1")),
              (QStringList{QStringLiteral("Settings-Local.json"), QStringLiteral("Settings-Runtime.json")}));
    EXPECT_TRUE(names(QStringLiteral("Profiles/3")).isEmpty());
}
