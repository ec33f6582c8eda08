// JSON forms of the shared records: members in declared order, under the names the settings files use.
#include "utility_business/utility_structs.h"

#include "utility_business/json_document.h"

namespace utility_business {
namespace utility_structs {

namespace {

KeyPath keyOf(const char* name) { return KeyPath{QString::fromLatin1(name)}; }

class Writer {
public:
    Writer& add(const char* key, const QString& value)
    {
        m_doc.setString(keyOf(key), value);
        return *this;
    }
    Writer& add(const char* key, int value)
    {
        m_doc.setInt(keyOf(key), value);
        return *this;
    }
    Writer& add(const char* key, bool value)
    {
        m_doc.setBool(keyOf(key), value);
        return *this;
    }
    Writer& add(const char* key, const QStringList& value)
    {
        m_doc.setStringList(keyOf(key), value);
        return *this;
    }
    QString text() const { return m_doc.toCompactString(); }

private:
    JsonDocument m_doc;
};

// Reads members of one record; a text that does not parse reads like an empty object.
class Reader {
public:
    explicit Reader(const QString& json) : m_doc(json) {}
    QString text(const char* key, const QString& fallback) const { return m_doc.getString(keyOf(key), fallback); }
    int number(const char* key, int fallback) const { return m_doc.getInt(keyOf(key), fallback); }
    bool flag(const char* key, bool fallback) const { return m_doc.getBool(keyOf(key), fallback); }
    QStringList texts(const char* key) const { return m_doc.getStringList(keyOf(key)); }
    utility_enum::PrinterType printerType(const char* key, utility_enum::PrinterType fallback) const
    {
        return static_cast<utility_enum::PrinterType>(number(key, fallback));
    }

private:
    JsonDocument m_doc;
};

}  // namespace

QString PrinterInfo::toJson() const
{
    return Writer()
        .add("id", id)
        .add("name", name)
        .add("model", model)
        .add("width", width)
        .add("connectionType", connectionType)
        .add("portName", portName)
        .add("hostAddress", hostAddress)
        .add("port", port)
        .add("connected", connected)
        .add("type", static_cast<int>(type))
        .text();
}

PrinterInfo PrinterInfo::fromJson(const QString& json)
{
    const Reader in(json);
    PrinterInfo info;
    info.id = in.number("id", info.id);
    info.name = in.text("name", info.name);
    info.model = in.text("model", info.model);
    info.width = in.text("width", info.width);
    info.connectionType = in.text("connectionType", info.connectionType);
    info.portName = in.text("portName", info.portName);
    info.hostAddress = in.text("hostAddress", info.hostAddress);
    info.port = in.text("port", info.port);
    info.connected = in.flag("connected", info.connected);
    info.type = in.printerType("type", info.type);
    return info;
}

QString PrintCopies::toJson() const
{
    return Writer()
        .add("copiesCountOfOrder", copiesCountOfOrder)
        .add("copiesCountOfDineOrder", copiesCountOfDineOrder)
        .add("copiesCountOfPhoneOrder", copiesCountOfPhoneOrder)
        .text();
}

PrintCopies PrintCopies::fromJson(const QString& json)
{
    const Reader in(json);
    PrintCopies copies;
    copies.copiesCountOfOrder = in.number("copiesCountOfOrder", copies.copiesCountOfOrder);
    copies.copiesCountOfDineOrder = in.number("copiesCountOfDineOrder", copies.copiesCountOfDineOrder);
    copies.copiesCountOfPhoneOrder = in.number("copiesCountOfPhoneOrder", copies.copiesCountOfPhoneOrder);
    return copies;
}

PrintCopies PrinterSettings::copies() const
{
    PrintCopies result;
    result.copiesCountOfOrder = copiesCountOfOrder;
    result.copiesCountOfDineOrder = copiesCountOfDineOrder;
    result.copiesCountOfPhoneOrder = copiesCountOfPhoneOrder;
    return result;
}

QString PrinterSettings::toJson() const
{
    return Writer()
        .add("width", width)
        .add("copiesCountOfOrder", copiesCountOfOrder)
        .add("copiesCountOfDineOrder", copiesCountOfDineOrder)
        .add("copiesCountOfPhoneOrder", copiesCountOfPhoneOrder)
        .text();
}

PrinterSettings PrinterSettings::fromJson(const QString& json)
{
    const Reader in(json);
    PrinterSettings settings;
    settings.width = in.text("width", settings.width);
    settings.copiesCountOfOrder = in.number("copiesCountOfOrder", settings.copiesCountOfOrder);
    settings.copiesCountOfDineOrder = in.number("copiesCountOfDineOrder", settings.copiesCountOfDineOrder);
    settings.copiesCountOfPhoneOrder = in.number("copiesCountOfPhoneOrder", settings.copiesCountOfPhoneOrder);
    return settings;
}

QString GlobalPrintSettings::toJson() const
{
    return Writer()
        .add("isConvertToPinyinEnabled", isConvertToPinyinEnabled)
        .add("isSimplifyChineseEnabled", isSimplifyChineseEnabled)
        .add("isPrintBarcodeEnabled", isPrintBarcodeEnabled)
        .add("spacingBetweenCopies", spacingBetweenCopies)
        .add("fontStyle", fontStyle)
        .text();
}

GlobalPrintSettings GlobalPrintSettings::fromJson(const QString& json)
{
    const Reader in(json);
    GlobalPrintSettings settings;
    settings.isConvertToPinyinEnabled = in.flag("isConvertToPinyinEnabled", settings.isConvertToPinyinEnabled);
    settings.isSimplifyChineseEnabled = in.flag("isSimplifyChineseEnabled", settings.isSimplifyChineseEnabled);
    settings.isPrintBarcodeEnabled = in.flag("isPrintBarcodeEnabled", settings.isPrintBarcodeEnabled);
    settings.spacingBetweenCopies = in.text("spacingBetweenCopies", settings.spacingBetweenCopies);
    settings.fontStyle = in.text("fontStyle", settings.fontStyle);
    return settings;
}

QString SummaryPrintSettings::toJson() const
{
    return Writer()
        .add("width", width)
        .add("copiesOfOnlineOrder", copiesOfOnlineOrder)
        .add("copiesOfDineOrder", copiesOfDineOrder)
        .add("copiesOfPhoneOrder", copiesOfPhoneOrder)
        .add("isPrintBarcodeEnabled", isPrintBarcodeEnabled)
        .add("lines_between_copies", lines_between_copies)
        .add("style", style)
        .text();
}

SummaryPrintSettings SummaryPrintSettings::fromJson(const QString& json)
{
    const Reader in(json);
    SummaryPrintSettings settings;
    settings.width = in.text("width", settings.width);
    settings.copiesOfOnlineOrder = in.number("copiesOfOnlineOrder", settings.copiesOfOnlineOrder);
    settings.copiesOfDineOrder = in.number("copiesOfDineOrder", settings.copiesOfDineOrder);
    settings.copiesOfPhoneOrder = in.number("copiesOfPhoneOrder", settings.copiesOfPhoneOrder);
    settings.isPrintBarcodeEnabled = in.flag("isPrintBarcodeEnabled", settings.isPrintBarcodeEnabled);
    settings.lines_between_copies = in.text("lines_between_copies", settings.lines_between_copies);
    settings.style = in.text("style", settings.style);
    return settings;
}

QString PrinterProperties::toJson() const
{
    return Writer().add("id", id).add("name", name).add("width", width).add("type", static_cast<int>(type)).text();
}

PrinterProperties PrinterProperties::fromJson(const QString& json)
{
    const Reader in(json);
    PrinterProperties properties;
    properties.id = in.number("id", properties.id);
    properties.name = in.text("name", properties.name);
    properties.width = in.text("width", properties.width);
    properties.type = in.printerType("type", properties.type);
    return properties;
}

QString ProfileInfo::toJson() const
{
    return Writer()
        .add("username", username)
        .add("ksid", ksid)
        .add("imageUrl", imageUrl)
        .add("mobile", mobile)
        .add("restaurantNames", restaurantNames)
        .text();
}

ProfileInfo ProfileInfo::fromJson(const QString& json)
{
    const Reader in(json);
    ProfileInfo info;
    info.username = in.text("username", info.username);
    info.ksid = in.text("ksid", info.ksid);
    info.imageUrl = in.text("imageUrl", info.imageUrl);
    info.mobile = in.text("mobile", info.mobile);
    info.restaurantNames = in.texts("restaurantNames");
    return info;
}

QString UserConfig::toJson() const
{
    return Writer()
        .add("isLaunchAfterSystemStartupEnabled", isLaunchAfterSystemStartupEnabled)
        .add("closeButtonAction", closeButtonAction)
        .add("isDevelopModelEnable", isDevelopModelEnable)
        .add("printerSettingsMode", printerSettingsMode)
        .text();
}

UserConfig UserConfig::fromJson(const QString& json)
{
    const Reader in(json);
    UserConfig config;
    config.isLaunchAfterSystemStartupEnabled =
        in.flag("isLaunchAfterSystemStartupEnabled", config.isLaunchAfterSystemStartupEnabled);
    config.closeButtonAction = in.number("closeButtonAction", config.closeButtonAction);
    config.isDevelopModelEnable = in.flag("isDevelopModelEnable", config.isDevelopModelEnable);
    config.printerSettingsMode = in.text("printerSettingsMode", config.printerSettingsMode);
    return config;
}

QString WindowInfo::toJson() const
{
    return Writer()
        .add("maximize", maximize)
        .add("zoom_level", zoom_level)
        .add("x", x)
        .add("y", y)
        .add("width", width)
        .add("height", height)
        .text();
}

WindowInfo WindowInfo::fromJson(const QString& json)
{
    const Reader in(json);
    WindowInfo info;
    info.maximize = in.flag("maximize", info.maximize);
    info.zoom_level = in.number("zoom_level", info.zoom_level);
    info.x = in.number("x", info.x);
    info.y = in.number("y", info.y);
    info.width = in.number("width", info.width);
    info.height = in.number("height", info.height);
    return info;
}

QString ToneInfo::toJson() const { return Writer().add("name", name).add("file", file).text(); }

ToneInfo ToneInfo::fromJson(const QString& json)
{
    const Reader in(json);
    ToneInfo tone;
    tone.name = in.text("name", tone.name);
    tone.file = in.text("file", tone.file);
    return tone;
}

// The basis file's form: the host that is pinged and the proxy host are one "host" there.
QString ProxyServerInfo::toJson() const { return Writer().add("host", host).add("port", port).text(); }

ProxyServerInfo ProxyServerInfo::fromJson(const QString& json)
{
    const Reader in(json);
    ProxyServerInfo info;
    info.host = in.text("host", info.host);
    info.address = info.host;
    bool isNumber = false;
    const int portFromText = in.text("port", QString()).trimmed().toInt(&isNumber);  // "port": "8080"
    info.port = isNumber ? portFromText : in.number("port", info.port);
    return info;
}

QString ResourceFileInfo::toJson() const { return Writer().add("filename", filename).add("sha1", sha1).text(); }

ResourceFileInfo ResourceFileInfo::fromJson(const QString& json)
{
    const Reader in(json);
    ResourceFileInfo info;
    info.filename = in.text("filename", info.filename);
    info.sha1 = in.text("sha1", info.sha1);
    return info;
}

}  // namespace utility_structs
}  // namespace utility_business
