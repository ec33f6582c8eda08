#include "utility_business/utility_structs.h"

#include "qt_print.h"

#include <gtest/gtest.h>

using namespace utility_business;

// --- exact JSON forms ----------------------------------------------------------------------------------

TEST(RecordJson, PrinterInfoWritesEveryMemberInDeclaredOrder)
{
    PrinterInfo info;
    info.id = 3;
    info.name = QStringLiteral("POS-80");
    info.model = QStringLiteral("POS-80 Series");
    info.width = QStringLiteral("80mm");
    info.connectionType = QStringLiteral("network");
    info.portName = QStringLiteral("IP_192.168.1.9");
    info.hostAddress = QStringLiteral("192.168.1.9");
    info.port = QStringLiteral("9100");
    info.connected = true;
    info.type = utility_enum::PRINTER_SYSTEM_NETWORK;
    EXPECT_EQ(info.toJson(),
              "{\"id\":3,\"name\":\"POS-80\",\"model\":\"POS-80 Series\",\"width\":\"80mm\",\"connectionType\":\"network\","
              "\"portName\":\"IP_192.168.1.9\",\"hostAddress\":\"192.168.1.9\",\"port\":\"9100\",\"connected\":true,"
              "\"type\":2}");
}

TEST(RecordJson, DefaultRecordsWriteTheirDefaults)
{
    EXPECT_EQ(PrinterInfo().toJson(),
              "{\"id\":-1,\"name\":\"\",\"model\":\"\",\"width\":\"\",\"connectionType\":\"\",\"portName\":\"\","
              "\"hostAddress\":\"\",\"port\":\"\",\"connected\":false,\"type\":0}");
    EXPECT_EQ(PrintCopies().toJson(),
              "{\"copiesCountOfOrder\":1,\"copiesCountOfDineOrder\":1,\"copiesCountOfPhoneOrder\":1}");
    EXPECT_EQ(PrinterSettings().toJson(),
              "{\"width\":\"58mm\",\"copiesCountOfOrder\":1,\"copiesCountOfDineOrder\":1,\"copiesCountOfPhoneOrder\":1}");
    EXPECT_EQ(GlobalPrintSettings().toJson(),
              "{\"isConvertToPinyinEnabled\":true,\"isSimplifyChineseEnabled\":true,\"isPrintBarcodeEnabled\":true,"
              "\"spacingBetweenCopies\":\"middle\",\"fontStyle\":\"normal\"}");
    EXPECT_EQ(SummaryPrintSettings().toJson(),
              "{\"width\":\"58mm\",\"copiesOfOnlineOrder\":1,\"copiesOfDineOrder\":1,\"copiesOfPhoneOrder\":1,"
              "\"isPrintBarcodeEnabled\":false,\"lines_between_copies\":\"middle\",\"style\":\"normal\"}");
    EXPECT_EQ(PrinterProperties().toJson(), "{\"id\":-1,\"name\":\"\",\"width\":\"\",\"type\":0}");
    EXPECT_EQ(ProfileInfo().toJson(),
              "{\"username\":\"\",\"ksid\":\"\",\"imageUrl\":\"\",\"mobile\":\"\",\"restaurantNames\":[]}");
    EXPECT_EQ(UserConfig().toJson(),
              "{\"isLaunchAfterSystemStartupEnabled\":true,\"closeButtonAction\":0,\"isDevelopModelEnable\":false,"
              "\"printerSettingsMode\":\"basis\"}");
    EXPECT_EQ(WindowInfo().toJson(),
              "{\"maximize\":false,\"zoom_level\":100,\"x\":0,\"y\":0,\"width\":1008,\"height\":665}");
    EXPECT_EQ(ToneInfo().toJson(), "{\"name\":\"\",\"file\":\"\"}");
    EXPECT_EQ(ProxyServerInfo().toJson(), "{\"host\":\"\",\"port\":0}");
    EXPECT_EQ(ResourceFileInfo().toJson(), "{\"filename\":\"\",\"sha1\":\"\"}");
}

TEST(RecordJson, ProfileInfoWritesRestaurantNamesAsArray)
{
    ProfileInfo info;
    info.username = QStringLiteral("shop1");
    info.ksid = QStringLiteral("k-9");
    info.imageUrl = QStringLiteral("http://img/1.png");
    info.mobile = QStringLiteral("13800000000");
    info.restaurantNames = QStringList{QString::fromUtf8("小馆"), QStringLiteral("Noodle \"Bar\"")};
    EXPECT_EQ(info.toJson(), QString::fromUtf8("{\"username\":\"shop1\",\"ksid\":\"k-9\",\"imageUrl\":\"http://img/1.png\","
                                               "\"mobile\":\"13800000000\",\"restaurantNames\":[\"小馆\",\"Noodle \\\"Bar\\\"\"]}"));
}

// Reading a record's own text back and writing it again gives the same text, member for member.
template <class Record>
void expectReadsBack(const char* json)
{
    EXPECT_EQ(Record::fromJson(QString::fromUtf8(json)).toJson(), QString::fromUtf8(json));
}

TEST(RecordRead, EveryRecordReadsEveryMember)
{
    // A printer type outside the listed values (9) survives the reading.
    expectReadsBack<PrinterInfo>("{\"id\":7,\"name\":\"XP-58\",\"model\":\"m\",\"width\":\"58mm\",\"connectionType\":\"usb\","
                                 "\"portName\":\"USB001\",\"hostAddress\":\"h\",\"port\":\"1\",\"connected\":true,\"type\":9}");
    expectReadsBack<PrinterSettings>("{\"width\":\"80mm\",\"copiesCountOfOrder\":2,\"copiesCountOfDineOrder\":3,"
                                     "\"copiesCountOfPhoneOrder\":4}");
    expectReadsBack<GlobalPrintSettings>("{\"isConvertToPinyinEnabled\":false,\"isSimplifyChineseEnabled\":false,"
                                         "\"isPrintBarcodeEnabled\":false,\"spacingBetweenCopies\":\"large\",\"fontStyle\":\"big\"}");
    expectReadsBack<SummaryPrintSettings>("{\"width\":\"80mm\",\"copiesOfOnlineOrder\":2,\"copiesOfDineOrder\":3,"
                                          "\"copiesOfPhoneOrder\":5,\"isPrintBarcodeEnabled\":true,"
                                          "\"lines_between_copies\":\"large\",\"style\":\"small\"}");
    expectReadsBack<PrinterProperties>("{\"id\":2,\"name\":\"p\",\"width\":\"80mm\",\"type\":3}");
    expectReadsBack<ProfileInfo>("{\"username\":\"u\",\"ksid\":\"k\",\"imageUrl\":\"i\",\"mobile\":\"m\",\"restaurantNames\":[\"a\",\"b\"]}");
    expectReadsBack<UserConfig>("{\"isLaunchAfterSystemStartupEnabled\":false,\"closeButtonAction\":1,"
                                "\"isDevelopModelEnable\":true,\"printerSettingsMode\":\"advance\"}");
    expectReadsBack<WindowInfo>("{\"maximize\":true,\"zoom_level\":125,\"x\":-20,\"y\":5,\"width\":800,\"height\":600}");
    expectReadsBack<ToneInfo>("{\"name\":\"bell\",\"file\":\"tones/bell.wav\"}");
    expectReadsBack<ResourceFileInfo>("{\"filename\":\"a.dat\",\"sha1\":\"da39a3ee5e6b4b0d3255bfef95601890afd80709\"}");
    expectReadsBack<PrintCopies>("{\"copiesCountOfOrder\":2,\"copiesCountOfDineOrder\":3,\"copiesCountOfPhoneOrder\":4}");
    EXPECT_EQ(PrinterSettings::fromJson(QStringLiteral("{\"copiesCountOfPhoneOrder\":4}")).copies().copiesCountOfPhoneOrder, 4);
}

// --- defaults ------------------------------------------------------------------------------------------

TEST(RecordDefaults, InvalidTextGivesDefaultRecord)
{
    for (const QString& text : {QString(), QStringLiteral("{\"id\":"), QStringLiteral("[1,2]"), QStringLiteral("\"x\"")}) {
        EXPECT_EQ(PrinterInfo::fromJson(text).toJson(), PrinterInfo().toJson());
        EXPECT_EQ(PrinterSettings::fromJson(text).toJson(), PrinterSettings().toJson());
        EXPECT_EQ(WindowInfo::fromJson(text).toJson(), WindowInfo().toJson());
        EXPECT_EQ(UserConfig::fromJson(text).toJson(), UserConfig().toJson());
        EXPECT_EQ(ProxyServerInfo::fromJson(text).toJson(), ProxyServerInfo().toJson());
    }
}

TEST(RecordDefaults, MissingOrMistypedMembersKeepTheirDefaults)
{
    const PrinterSettings settings =
        PrinterSettings::fromJson(QStringLiteral("{\"copiesCountOfDineOrder\":3,\"width\":80,\"copiesCountOfOrder\":\"2\"}"));
    EXPECT_EQ(settings.width, "58mm");
    EXPECT_EQ(settings.copiesCountOfOrder, 1);
    EXPECT_EQ(settings.copiesCountOfDineOrder, 3);
    EXPECT_EQ(settings.copiesCountOfPhoneOrder, 1);

    const WindowInfo window = WindowInfo::fromJson(QStringLiteral("{\"width\":1000,\"maximize\":1}"));
    EXPECT_EQ(window.toJson(), "{\"maximize\":false,\"zoom_level\":100,\"x\":0,\"y\":0,\"width\":1000,\"height\":665}");

    const ProfileInfo profile = ProfileInfo::fromJson(QStringLiteral("{\"username\":\"u\",\"restaurantNames\":\"one\"}"));
    EXPECT_EQ(profile.username, "u");
    EXPECT_TRUE(profile.restaurantNames.isEmpty());
}

// --- the proxy servers of the basis file ---------------------------------------------------------------

TEST(ProxyServerInfoJson, HostFillsAddressAndHostAndPortMayBeText)
{
    const ProxyServerInfo numeric = ProxyServerInfo::fromJson(QStringLiteral("{\"host\":\"10.0.0.1\",\"port\":3128}"));
    EXPECT_EQ(numeric.address, "10.0.0.1");
    EXPECT_EQ(numeric.host, "10.0.0.1");
    EXPECT_EQ(numeric.port, 3128);
    EXPECT_EQ(numeric.toJson(), "{\"host\":\"10.0.0.1\",\"port\":3128}");

    EXPECT_EQ(ProxyServerInfo::fromJson(QStringLiteral("{\"host\":\"p\",\"port\":\" 8080 \"}")).port, 8080);
    EXPECT_EQ(ProxyServerInfo::fromJson(QStringLiteral("{\"host\":\"p\",\"port\":\"80a\"}")).port, 0);
    EXPECT_EQ(ProxyServerInfo::fromJson(QStringLiteral("{\"host\":\"p\"}")).port, 0);
}
