#pragma once
// Shared records. Each has toJson() (compact JSON text) and a static fromJson(text); fromJson of a text
// that does not parse, or of a missing member, gives the member's default. Members are public and are
// declared in the order the service relies on (GlobalPrintSettings' switches follow their JSON keys).

#include "utility_business/utility_enum.h"

#include <QString>
#include <QStringList>

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

    QString toJson() const;
    static PrinterInfo fromJson(const QString& json);
};

// Copies per order kind of one printer.
struct PrintCopies {
    int copiesCountOfOrder = 1;       // online orders
    int copiesCountOfDineOrder = 1;   // dine-in orders
    int copiesCountOfPhoneOrder = 1;  // telephone orders

    QString toJson() const;
    static PrintCopies fromJson(const QString& json);
};

// A printer's settings in one profile.
struct PrinterSettings {
    QString width = QStringLiteral("58mm");
    int copiesCountOfOrder = 1;
    int copiesCountOfDineOrder = 1;
    int copiesCountOfPhoneOrder = 1;

    PrintCopies copies() const;
    QString toJson() const;
    static PrinterSettings fromJson(const QString& json);
};

// The print switches shared by every printer ("print" in Settings-App.json).
struct GlobalPrintSettings {
    bool isConvertToPinyinEnabled = true;
    bool isSimplifyChineseEnabled = true;
    bool isPrintBarcodeEnabled = true;
    QString spacingBetweenCopies = QStringLiteral("middle");  // "small", "middle" or "large"
    QString fontStyle = QStringLiteral("normal");             // "normal" or "small"

    QString toJson() const;
    static GlobalPrintSettings fromJson(const QString& json);
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

    QString toJson() const;
    static SummaryPrintSettings fromJson(const QString& json);
};

// The properties of a printer common to every profile.
struct PrinterProperties {
    int id = -1;
    QString name;
    QString width;
    utility_enum::PrinterType type = utility_enum::PRINTER_UNUSABLE;

    QString toJson() const;
    static PrinterProperties fromJson(const QString& json);
};

// The identity of a shop account.
struct ProfileInfo {
    QString username;
    QString ksid;
    QString imageUrl;
    QString mobile;
    QStringList restaurantNames;

    QString toJson() const;
    static ProfileInfo fromJson(const QString& json);
};

struct UserConfig {
    bool isLaunchAfterSystemStartupEnabled = true;
    int closeButtonAction = 0;  // 0 minimise to the tray, 1 quit
    bool isDevelopModelEnable = false;
    QString printerSettingsMode = QStringLiteral("basis");

    QString toJson() const;
    static UserConfig fromJson(const QString& json);
};

// Where and how large the client's main window was last.
struct WindowInfo {
    bool maximize = false;
    int zoom_level = 100;
    int x = 0;
    int y = 0;
    int width = 1008;
    int height = 665;

    QString toJson() const;
    static WindowInfo fromJson(const QString& json);
};

// A notification tone.
struct ToneInfo {
    QString name;
    QString file;

    QString toJson() const;
    static ToneInfo fromJson(const QString& json);
};

// A proxy server of the basis file's list.
struct ProxyServerInfo {
    QString address;  // the host that is pinged ("host" in the basis file)
    QString host;     // the proxy host handed to requests ("host" in the basis file)
    int port = 0;

    QString toJson() const;
    static ProxyServerInfo fromJson(const QString& json);
};

// A file of a resource package and its SHA-1, as the package's index lists it.
struct ResourceFileInfo {
    QString filename;
    QString sha1;

    QString toJson() const;
    static ResourceFileInfo fromJson(const QString& json);
};

}  // namespace utility_structs

using namespace utility_structs;

}  // namespace utility_business
