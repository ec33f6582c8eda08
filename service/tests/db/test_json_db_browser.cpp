// The read side: values from the files, and the fixed defaults where the files are silent.
#include "store_fixture.h"

#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"

using namespace utility_business;
using service_business::json_db::Browser;
using service_business::json_db::JsonDB;

namespace {
const char* const kApp = R"({
    "basis": {"capi_url": "https://app.example/capi"},
    "profiles": {"1": {"username": "alice"}, "2": {"username": "bob"}},
    "print": {
        "printers": {
            "0": {"id": 0, "name": "Kitchen", "width": "80mm", "type": 1},
            "4": {"id": 4, "name": "Counter", "width": "80mm", "type": 3}
        },
        "isConvertToPinyinEnabled": false,
        "fontStyle": "small"
    },
    "general": {"tone": {"name": "Chime", "file": "tones/chime.wav"}, "closeButtonAction": 1, "isDevelopModelEnable": true},
    "sn": "SN-1"
})";

const char* const kBasis = R"({
    "version": "3.1",
    "basis": {"start_url": "https://basis.example/", "capi_url": "https://basis.example/capi"},
    "proxy_servers": [{"host": "p1.example", "port": 3128}, {"host": "p2.example", "port": "8080"}],
    "tones": [{"name": "Bell", "file": "tones/bell.wav"}, {"name": "Chime", "file": "tones/chime.wav"}],
    "resources": [{"filename": "a.bin", "sha1": "0a"}]
})";

// Profile 1 prints in the advance mode on printers 4 and 9 (9 is unknown to the App file).
const char* const kLocal1 = R"({
    "username": "alice", "ksid": "k-1", "mobile": "555", "restaurantNames": ["Alpha", "Beta"],
    "general": {"isLaunchAfterSystemStartupEnabled": false, "printerSettingsMode": "Basis"},
    "printers": {
        "defaulePrinterProperties": {"width": "58mm", "copiesCountOfOrder": 2, "copiesCountOfDineOrder": 3, "copiesCountOfPhoneOrder": 4},
        "4": {"width": "58mm", "copiesCountOfOrder": 5, "copiesCountOfDineOrder": 6, "copiesCountOfPhoneOrder": 7},
        "9": {"width": "58mm", "copiesCountOfOrder": 8, "copiesCountOfDineOrder": 8, "copiesCountOfPhoneOrder": 8}
    }
})";
const char* const kRuntime1 = R"({"window_info": {"maximize": true, "zoom_level": 125, "x": 5, "y": 6, "width": 700, "height": 500}})";

// Profile 2 has nothing but its name: every read falls back to its default.
const char* const kLocal2 = R"({"username": "bob", "general": {"isLaunchAfterSystemStartupEnabled": true}})";
}  // namespace

class SettingsReads : public StoreTest {
protected:
    void SetUp() override
    {
        StoreTest::SetUp();
        writeFile(QStringLiteral("Settings-App.json"), QLatin1String(kApp));
        writeFile(QStringLiteral("Settings-Basis.json"), QLatin1String(kBasis));
        writeFile(QStringLiteral("Settings-Env.json"), QStringLiteral("{\"channel\": \"beta\"}"));
        writeFile(QStringLiteral("Profiles/1/Settings-Local.json"), QLatin1String(kLocal1));
        writeFile(QStringLiteral("Profiles/1/Settings-Runtime.json"), QLatin1String(kRuntime1));
        writeFile(QStringLiteral("Profiles/2/Settings-Local.json"), QLatin1String(kLocal2));
        // profile 2 has no Settings-Runtime.json
    }
    Browser* browser() const { return JsonDB::browser(); }
};

TEST_F(SettingsReads, PrefersAppFileUrlsAndFallsBackToBasisInEitherPlace)
{
    EXPECT_EQ(browser()->apiUrl(QStringLiteral("orders")), QStringLiteral("https://app.example/capi/orders"));
    EXPECT_EQ(browser()->startUrl(), QStringLiteral("https://basis.example/"));
    EXPECT_EQ(browser()->settingVersion(), QStringLiteral("3.1"));
    EXPECT_EQ(browser()->sn(), QStringLiteral("SN-1"));
    EXPECT_EQ(browser()->getEnvSettings(QStringLiteral("channel")), QStringLiteral("beta"));
    EXPECT_EQ(browser()->getEnvSettings(QStringLiteral("absent")), QString());

    JsonDB::appDocument()->removeNode({QStringLiteral("basis")});
    EXPECT_EQ(browser()->apiUrl(QStringLiteral("orders")), QStringLiteral("https://basis.example/capi/orders"));
    JsonDB::basisDocument()->removeNode({QStringLiteral("basis")});
    EXPECT_EQ(browser()->apiUrl(QStringLiteral("orders")), QString());
    // Some basis files keep the URLs at the top level.
    JsonDB::basisDocument()->setString({QStringLiteral("capi_url")}, QStringLiteral("https://top.example/capi"));
    JsonDB::basisDocument()->setString({QStringLiteral("start_url")}, QStringLiteral("https://top.example/"));
    EXPECT_EQ(browser()->apiUrl(QStringLiteral("orders")), QStringLiteral("https://top.example/capi/orders"));
    EXPECT_EQ(browser()->startUrl(), QStringLiteral("https://top.example/"));
}

TEST_F(SettingsReads, ListsProxiesAndResourcesInFileOrder)
{
    const QList<ProxyServerInfo> proxies = browser()->proxyServersInfo();
    ASSERT_EQ(proxies.size(), 2);
    EXPECT_EQ(proxies[0].address, QStringLiteral("p1.example"));
    EXPECT_EQ(proxies[0].port, 3128);
    EXPECT_EQ(proxies[1].port, 8080) << "a port written as text";

    const QList<ResourceFileInfo> resources = browser()->resourceFilesInfo();
    ASSERT_EQ(resources.size(), 1);
    EXPECT_EQ(resources[0].sha1, QStringLiteral("0a"));
}

TEST_F(SettingsReads, ReadsProfilesAndTheirIdentity)
{
    const QMap<int, QString> profiles = browser()->profilesMap();
    EXPECT_EQ(profiles, (QMap<int, QString>{{1, QStringLiteral("alice")}, {2, QStringLiteral("bob")}}));
    EXPECT_EQ(browser()->profileName(2), QStringLiteral("bob"));
    EXPECT_EQ(browser()->profileName(7), QString());

    EXPECT_EQ(browser()->profileInfo(1).restaurantNames, (QStringList{QStringLiteral("Alpha"), QStringLiteral("Beta")}));
    EXPECT_TRUE(browser()->hasAppLaunchAtStartUp()) << "profile 2 starts with the system";
}

TEST_F(SettingsReads, JoinsUserConfigFromProfileAndAppFile)
{
    const UserConfig config = browser()->userConfig(1);
    EXPECT_FALSE(config.isLaunchAfterSystemStartupEnabled);
    EXPECT_EQ(config.closeButtonAction, 1);
    EXPECT_TRUE(config.isDevelopModelEnable);
    EXPECT_EQ(config.printerSettingsMode, QStringLiteral("advance")) << "\"Basis\" is not \"basis\"";
    EXPECT_EQ(browser()->userConfig(2).printerSettingsMode, QStringLiteral("basis"));
}

TEST_F(SettingsReads, ReadsWindowGeometryOrItsReadDefaults)
{
    EXPECT_EQ(browser()->windowInfo(1).toJson(), (WindowInfo{true, 125, 5, 6, 700, 500}.toJson()));
    EXPECT_EQ(browser()->windowInfo(2).toJson(), (WindowInfo{false, 100, 0, 0, 1008, 665}.toJson()));
}

TEST_F(SettingsReads, TakesPrintSettingsWidthFromTheAppFilesPrinter)
{
    EXPECT_EQ(browser()->printerSettingsMode(1), utility_enum::PRINTER_SETTINGS_ADVANCE);
    EXPECT_EQ(browser()->printerSettingsMode(2), utility_enum::PRINTER_SETTINGS_BASIS);

    const PrinterSettings basis = browser()->basisPrinterSettings(1);
    EXPECT_EQ(basis.width, QStringLiteral("80mm")) << "the width of printer 0";
    EXPECT_EQ(basis.copiesCountOfOrder, 2);
    EXPECT_EQ(basis.copiesCountOfPhoneOrder, 4);

    const PrinterSettings enabled = browser()->printSettings(1, 4);
    EXPECT_EQ(enabled.width, QStringLiteral("80mm"));
    EXPECT_EQ(enabled.copiesCountOfDineOrder, 6);

    const PrinterSettings unknownToApp = browser()->printSettings(1, 9);
    EXPECT_EQ(unknownToApp.width, QStringLiteral("58mm"));
    EXPECT_EQ(unknownToApp.copiesCountOfOrder, 8);

    const PrinterSettings notEnabled = browser()->printSettings(1, 0);
    EXPECT_EQ(notEnabled.width, QStringLiteral("58mm")) << "printer 0 is 80mm, but not enabled in profile 1";
    EXPECT_EQ(notEnabled.copiesCountOfOrder, 1);

    JsonDB::appDocument()->removeNode({QStringLiteral("print"), QStringLiteral("printers"), QStringLiteral("0")});
    EXPECT_EQ(browser()->basisPrinterSettings(1).width, QStringLiteral("58mm"));
}

TEST_F(SettingsReads, ListsEnabledPrintersWithoutTheBasisEntry)
{
    const QMap<int, PrintCopies> copies = browser()->enabledPrintCopies(1);
    EXPECT_EQ(copies.keys(), (QList<int>{4, 9}));
    EXPECT_EQ(copies[4].copiesCountOfPhoneOrder, 7);
    EXPECT_EQ(browser()->printCopies(1, 9).copiesCountOfOrder, 8);
    EXPECT_EQ(browser()->printCopies(1, 5).copiesCountOfOrder, 1);

    const QList<PrinterInfo> enabled = browser()->enabledPrinterList(1);
    ASSERT_EQ(enabled.size(), 1) << "printer 9 is not in the App file";
    EXPECT_EQ(enabled[0].id, 4);
    EXPECT_EQ(enabled[0].name, QStringLiteral("Counter"));
    EXPECT_TRUE(browser()->enabledPrinterList(2).isEmpty());
}

using EmptySettingsReads = StoreTest;

TEST_F(EmptySettingsReads, GivesEmptyListsAndDefaultsWithoutFiles)
{
    Browser* browser = JsonDB::browser();
    EXPECT_TRUE(browser->profilesMap().isEmpty());
    EXPECT_TRUE(browser->printerList().isEmpty());
    EXPECT_TRUE(browser->proxyServersInfo().isEmpty());
    EXPECT_FALSE(browser->hasAppLaunchAtStartUp());
    EXPECT_EQ(browser->basisPrinterSettings(1).width, QStringLiteral("58mm"));
    EXPECT_EQ(browser->windowInfo(1).width, 1008);
}
