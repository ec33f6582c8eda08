#pragma once
// Shared records. Each has toJson() (compact JSON text) and a static fromJson(text); fromJson of a text
// that does not parse, or of a missing member, gives the member's default. Members are public and are
// declared in the order the service relies on (GlobalPrintSettings' switches follow their JSON keys).

#include "utility_business/utility_enum.h"

#include <QString>
#include <QStringList>

// Declares a record's JSON forms: toJson() and the static fromJson(text).
#define SB_JSON_RECORD(Record)                                                                                        \
    QString toJson() const;                                                                                           \
    static Record fromJson(const QString& json);

namespace utility_business {
namespace utility_structs {

struct PrinterInfo {
    int id = -1;
    QString name;            // the spooler's printer name; key of every spooler call
    QString model;           // driver name (or the device identifier of a USB print-support printer)
    QString width;           // "58mm" or "80mm"
    QString connectionType;  // "local", "network" or "unsupported"
    QString portName;
    QString hostAddress;
    QString port;
    bool connected = false;
    utility_enum::PrinterType type = utility_enum::PRINTER_UNUSABLE;

    SB_JSON_RECORD(PrinterInfo)
};

// Copies per order kind of one printer.
struct PrintCopies {
    int copiesCountOfOrder = 1;       // online orders
    int copiesCountOfDineOrder = 1;   // dine-in orders
    int copiesCountOfPhoneOrder = 1;  // telephone orders

    SB_JSON_RECORD(PrintCopies)
};

// A printer's settings in one profile.
struct PrinterSettings {
    QString width = QStringLiteral("58mm");
    int copiesCountOfOrder = 1;
    int copiesCountOfDineOrder = 1;
    int copiesCountOfPhoneOrder = 1;

    PrintCopies copies() const;
    SB_JSON_RECORD(PrinterSettings)
};

// The print switches shared by every printer ("print" in Settings-App.json).
struct GlobalPrintSettings {
    bool isConvertToPinyinEnabled = true;
    bool isSimplifyChineseEnabled = true;
    bool isPrintBarcodeEnabled = true;
    QString spacingBetweenCopies = QStringLiteral("middle");  // "small", "middle" or "large"
    QString fontStyle = QStringLiteral("normal");             // "normal" or "small"

    SB_JSON_RECORD(GlobalPrintSettings)
};

// What the formatter needs to lay out one order.
struct SummaryPrintSettings {
    QString width = QStringLiteral("58mm");
    int copiesOfOnlineOrder = 1;  // order type 0
    int copiesOfDineOrder = 1;    // order type 1
    int copiesOfPhoneOrder = 1;   // order type 2
    bool isPrintBarcodeEnabled = false;
    QString lines_between_copies = QStringLiteral("middle");
    QString style = QStringLiteral("normal");

    SB_JSON_RECORD(SummaryPrintSettings)
};

// The properties of a printer common to every profile.
struct PrinterProperties {
    int id = -1;
    QString name;
    QString width;
    utility_enum::PrinterType type = utility_enum::PRINTER_UNUSABLE;

    SB_JSON_RECORD(PrinterProperties)
};

// The identity of a shop account.
struct ProfileInfo {
    QString username;
    QString ksid;
    QString imageUrl;
    QString mobile;
    QStringList restaurantNames;

    SB_JSON_RECORD(ProfileInfo)
};

struct UserConfig {
    bool isLaunchAfterSystemStartupEnabled = true;
    int closeButtonAction = 0;  // 0 minimise to the tray, 1 quit
    bool isDevelopModelEnable = false;
    QString printerSettingsMode = QStringLiteral("basis");

    SB_JSON_RECORD(UserConfig)
};

// Where and how large the client's main window was last.
struct WindowInfo {
    bool maximize = false;
    int zoom_level = 100;
    int x = 0;
    int y = 0;
    int width = 1008;
    int height = 665;

    SB_JSON_RECORD(WindowInfo)
};

// A notification tone.
struct ToneInfo {
    QString name;
    QString file;

    SB_JSON_RECORD(ToneInfo)
};

// A proxy server of the basis file's list.
struct ProxyServerInfo {
    QString address;  // the host that is pinged ("host" in the basis file)
    QString host;     // the proxy host handed to requests ("host" in the basis file)
    int port = 0;

    SB_JSON_RECORD(ProxyServerInfo)
};

// A file of a resource package and its SHA-1, as the package's index lists it.
struct ResourceFileInfo {
    QString filename;
    QString sha1;

    SB_JSON_RECORD(ResourceFileInfo)
};

}  // namespace utility_structs

using namespace utility_structs;

}  // namespace utility_business
