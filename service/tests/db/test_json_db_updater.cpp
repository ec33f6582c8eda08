// The write side: each write changes memory, saves its file and logs its call; a failed save keeps the
// old file and the change in memory.
#include "store_fixture.h"

#include "json_document_p.h"

#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"

#include "utility_business/json_document.h"
#include "utility_business/log.h"

#include <QDir>

#include <cerrno>
#include <functional>

using namespace utility_business;
using service_business::json_db::JsonDB;
using service_business::json_db::Updater;

namespace {

const char* const kApp = R"({
    "profiles": {
        "1": {
            "username": "alice"
        }
    },
    "print": {
        "printers": {
            "3": {
                "id": 3,
                "name": "Kitchen",
                "width": "58mm"
            }
        }
    },
    "sn": "old"
}
)";

const char* const kLocal = R"({
    "username": "alice",
    "general": {
        "isLaunchAfterSystemStartupEnabled": true,
        "printerSettingsMode": "basis"
    },
    "printers": {
        "3": {
            "width": "58mm",
            "copiesCountOfOrder": 1,
            "copiesCountOfDineOrder": 1,
            "copiesCountOfPhoneOrder": 1
        }
    }
}
)";

const char* const kRuntime = R"({
    "window_info": {
        "x": 1
    }
}
)";

// Every save fails at its write, as on a full disk.
ssize_t failingWrite(int, const void*, size_t)
{
    errno = ENOSPC;
    return -1;
}
const json_save::FileOps kFullDisk = {failingWrite, ::fsync};

// The text at `path` of the file as it is on disk now.
QString onDisk(const QString& file, const KeyPath& path)
{
    JsonDocument doc;
    if (!doc.fromFile(file)) return QStringLiteral("<unreadable>");
    return doc.toString(path);
}

}  // namespace

class SettingsWrites : public StoreTest {
protected:
    void SetUp() override
    {
        StoreTest::SetUp();
        writeFile(QStringLiteral("Settings-App.json"), QLatin1String(kApp));
        writeFile(QStringLiteral("Settings-Basis.json"), QStringLiteral("{\"version\": \"1\"}\n"));
        writeFile(QStringLiteral("Settings-Env.json"), QStringLiteral("{\n    \"a\": \"1\"\n}\n"));
        writeFile(QStringLiteral("Profiles/1/Settings-Local.json"), QLatin1String(kLocal));
        writeFile(QStringLiteral("Profiles/1/Settings-Runtime.json"), QLatin1String(kRuntime));
    }
    void TearDown() override
    {
        json_save::setFileOpsForTesting(nullptr);
        StoreTest::TearDown();
    }
    Updater* updater() const { return JsonDB::updater(); }
    QString app() const { return appdataPath(QStringLiteral("Settings-App.json")); }
    QString local() const { return appdataPath(QStringLiteral("Profiles/1/Settings-Local.json")); }
};

TEST_F(SettingsWrites, SavesTheWholeAppFileInItsLayout)
{
    ASSERT_TRUE(updater()->setSN(QStringLiteral("SN-2")));
    EXPECT_EQ(readFile(QStringLiteral("Settings-App.json")), QString::fromLatin1(kApp).replace("\"old\"", "\"SN-2\""));
    EXPECT_EQ(JsonDB::browser()->sn(), QStringLiteral("SN-2"));
}

TEST_F(SettingsWrites, SavesBothProfileFilesOnAWindowChange)
{
    WindowInfo window;
    window.maximize = true;
    window.zoom_level = 150;
    window.x = 10;
    window.y = 20;
    window.width = 800;
    window.height = 600;
    ASSERT_TRUE(updater()->updateWindowInfo(1, window));
    EXPECT_EQ(readFile(QStringLiteral("Profiles/1/Settings-Runtime.json")),
              QStringLiteral("{\n    \"window_info\": {\n        \"x\": 10,\n        \"maximize\": true,\n"
                             "        \"zoom_level\": 150,\n        \"y\": 20,\n        \"width\": 800,\n"
                             "        \"height\": 600\n    }\n}\n"));
    EXPECT_EQ(readFile(QStringLiteral("Profiles/1/Settings-Local.json")), QLatin1String(kLocal));
}

TEST_F(SettingsWrites, SavesEnvFileByKey)
{
    ASSERT_TRUE(updater()->setEnvSettings(QStringLiteral("b"), QStringLiteral("2")));
    ASSERT_TRUE(updater()->setEnvSettings(QStringLiteral("a"), QStringLiteral("3")));
    EXPECT_EQ(readFile(QStringLiteral("Settings-Env.json")), QStringLiteral("{\n    \"a\": \"3\",\n    \"b\": \"2\"\n}\n"));
}

TEST_F(SettingsWrites, RefusesWritesForPrintersOrProfilesThatAreNotThereAndTextThatDoesNotParse)
{
    EXPECT_FALSE(updater()->updatePrinterWidth(8, QStringLiteral("80mm")));
    EXPECT_FALSE(updater()->updatePrintCopies(1, 8, PrintCopies()));
    EXPECT_FALSE(updater()->removePrinter(8));
    EXPECT_FALSE(updater()->disablePrinter(1, 8));
    EXPECT_FALSE(updater()->updateWindowInfo(7, WindowInfo())) << "no profile 7";
    EXPECT_FALSE(updater()->enablePrinter(7, 3, PrinterSettings()));
    EXPECT_FALSE(Updater::saveJsonFile(app(), QStringLiteral("{\"profiles\": "))) << "text that does not parse";
    EXPECT_EQ(readFile(QStringLiteral("Settings-App.json")), QLatin1String(kApp));
    EXPECT_EQ(readFile(QStringLiteral("Profiles/1/Settings-Local.json")), QLatin1String(kLocal));
}

TEST_F(SettingsWrites, SavesPrinterWritesAndTheExactModeToTheProfileFile)
{
    PrinterSettings settings;
    settings.copiesCountOfOrder = 2;
    ASSERT_TRUE(updater()->enablePrinter(1, 4, settings));
    EXPECT_EQ(onDisk(local(), {"printers", "4"}), JsonDocument(settings.toJson()).toString());

    PrintCopies copies;
    copies.copiesCountOfOrder = 7;
    copies.copiesCountOfDineOrder = 8;
    copies.copiesCountOfPhoneOrder = 9;
    ASSERT_TRUE(updater()->updatePrintCopies(1, 3, copies));
    EXPECT_EQ(onDisk(local(), {"printers", "3"}),
              QStringLiteral("{\n    \"width\": \"58mm\",\n    \"copiesCountOfOrder\": 7,\n"
                             "    \"copiesCountOfDineOrder\": 8,\n    \"copiesCountOfPhoneOrder\": 9\n}"));

    ASSERT_TRUE(updater()->setBasisPrinterSettings(1, copies));
    EXPECT_EQ(onDisk(local(), {"printers", "defaulePrinterProperties"}), JsonDocument(copies.toJson()).toString());

    ASSERT_TRUE(updater()->disablePrinter(1, 4));
    EXPECT_EQ(onDisk(local(), {"printers", "4"}), QString());

    ASSERT_TRUE(updater()->setPrinterSettingsMode(1, utility_enum::PRINTER_SETTINGS_ADVANCE));
    EXPECT_EQ(onDisk(local(), {"general", "printerSettingsMode"}), QStringLiteral("\"advance\""));
    ASSERT_TRUE(updater()->setPrinterSettingsMode(1, utility_enum::PRINTER_SETTINGS_BASIS));
    EXPECT_EQ(onDisk(local(), {"general", "printerSettingsMode"}), QStringLiteral("\"basis\""));
}

TEST_F(SettingsWrites, SplitsUserConfigAndProfileOverBothFiles)
{
    UserConfig config;
    config.isLaunchAfterSystemStartupEnabled = false;
    config.closeButtonAction = 1;
    config.isDevelopModelEnable = true;
    config.printerSettingsMode = QStringLiteral("advance");
    ASSERT_TRUE(updater()->updateUserConfig(1, config));
    EXPECT_EQ(onDisk(local(), {"general"}),
              QStringLiteral("{\n    \"isLaunchAfterSystemStartupEnabled\": false,\n"
                             "    \"printerSettingsMode\": \"advance\"\n}"));
    EXPECT_EQ(onDisk(app(), {"general"}),
              QStringLiteral("{\n    \"isDevelopModelEnable\": true,\n    \"closeButtonAction\": 1\n}"));

    ProfileInfo info;
    info.username = QStringLiteral("alice2");
    info.ksid = QStringLiteral("k");
    info.restaurantNames = QStringList{QStringLiteral("Alpha")};
    ASSERT_TRUE(updater()->updateProfile(1, info));
    EXPECT_EQ(onDisk(app(), {"profiles", "1", "username"}), QStringLiteral("\"alice2\""));
    EXPECT_EQ(onDisk(local(), {"username"}), QStringLiteral("\"alice2\""));
    EXPECT_EQ(onDisk(local(), {"restaurantNames"}), QStringLiteral("[\n    \"Alpha\"\n]"));
    EXPECT_EQ(JsonDB::browser()->profileInfo(1).ksid, QStringLiteral("k"));
}

TEST_F(SettingsWrites, KeepsOldFileAndTheChangeInMemoryWhenSaveFails)
{
    JsonDB::db();
    json_save::setFileOpsForTesting(&kFullDisk);
    EXPECT_FALSE(updater()->setSN(QStringLiteral("new")));
    WindowInfo window;
    window.x = 99;
    EXPECT_FALSE(updater()->updateWindowInfo(1, window));
    EXPECT_FALSE(updater()->setEnvSettings(QStringLiteral("a"), QStringLiteral("9")));

    EXPECT_EQ(readFile(QStringLiteral("Settings-App.json")), QLatin1String(kApp));
    EXPECT_EQ(readFile(QStringLiteral("Profiles/1/Settings-Runtime.json")), QLatin1String(kRuntime));
    EXPECT_EQ(readFile(QStringLiteral("Settings-Env.json")), QStringLiteral("{\n    \"a\": \"1\"\n}\n"));
    EXPECT_EQ(QDir(appdataPath(QStringLiteral("Profiles/1"))).entryList(QDir::Files | QDir::Hidden).size(), 2)
        << "no temporary file is left behind";

    EXPECT_EQ(JsonDB::browser()->sn(), QStringLiteral("new"));
    EXPECT_EQ(JsonDB::browser()->windowInfo(1).x, 99);
    EXPECT_EQ(JsonDB::browser()->getEnvSettings(QStringLiteral("a")), QStringLiteral("9"));

    // The next successful save of the file carries the change along.
    json_save::setFileOpsForTesting(nullptr);
    ASSERT_TRUE(updater()->removePrinter(3));
    EXPECT_EQ(onDisk(app(), {"sn"}), QStringLiteral("\"new\""));
}

// The record each operation opens, with its arguments.
TEST_F(SettingsWrites, LogsEveryWriteWithItsQualifiedNameAndArguments)
{
    PrinterInfo printer;
    printer.id = 6;
    PrintCopies copies;
    ProfileInfo info;
    info.username = QStringLiteral("alice");

    struct Case {
        const char* name;
        std::function<void()> call;
        QString arguments;
    };
    const QList<Case> cases = {
        {"addPrinter", [&] { updater()->addPrinter(printer); }, printer.toJson()},
        {"updatePrintCopies", [&] { updater()->updatePrintCopies(1, 6, copies); }, "1, 6, " + copies.toJson()},
        {"setPrinterSettingsMode",
         [&] { updater()->setPrinterSettingsMode(1, utility_enum::PRINTER_SETTINGS_ADVANCE); }, "1, 1"},
        {"addProfile", [&] { updater()->addProfile(info); }, info.toJson()},
        {"reloadBasisSetting", [&] { updater()->reloadBasisSetting(); }, ""},
    };
    for (const Case& c : cases) {
        log::Capture capture;
        c.call();
        const std::vector<log::Record> records = capture.records();
        ASSERT_FALSE(records.empty()) << c.name;
        EXPECT_EQ(records[0].type, "function") << c.name;
        EXPECT_EQ(records[0].unit, "src/db/json_db_updater") << c.name;
        EXPECT_EQ(records[0].text, "name:\tservice_business::json_db::Updater::" + std::string(c.name) +
                                       "\narguments:\t" + c.arguments.toStdString());
    }
}
