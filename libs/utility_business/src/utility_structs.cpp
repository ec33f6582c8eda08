// JSON forms of the shared records. Each record is described once, as a table of its members and their
// keys; toJson writes every member, fromJson reads every member present and keeps the default of the others.
#include "utility_business/utility_structs.h"

#include "utility_business/json_document.h"

#include <variant>

namespace utility_business {
namespace utility_structs {

namespace {

KeyPath keyOf(const char* name) { return KeyPath{QString::fromLatin1(name)}; }

// One member of a record and its key.
template <typename Record>
struct Member {
    const char* key;
    std::variant<QString Record::*, int Record::*, bool Record::*, QStringList Record::*,
                 utility_enum::PrinterType Record::*>
        field;
};

bool put(JsonDocument& doc, const KeyPath& key, const QString& value) { return doc.setString(key, value); }
bool put(JsonDocument& doc, const KeyPath& key, int value) { return doc.setInt(key, value); }
bool put(JsonDocument& doc, const KeyPath& key, bool value) { return doc.setBool(key, value); }
bool put(JsonDocument& doc, const KeyPath& key, const QStringList& value) { return doc.setStringList(key, value); }
bool put(JsonDocument& doc, const KeyPath& key, utility_enum::PrinterType value) { return doc.setInt(key, int(value)); }

// Each reads the member when the document has it in that type, else leaves the default.
void take(const JsonDocument& doc, const KeyPath& key, QString& value) { value = doc.getString(key, value); }
void take(const JsonDocument& doc, const KeyPath& key, int& value) { value = doc.getInt(key, value); }
void take(const JsonDocument& doc, const KeyPath& key, bool& value) { value = doc.getBool(key, value); }
void take(const JsonDocument& doc, const KeyPath& key, QStringList& value) { value = doc.getStringList(key); }
void take(const JsonDocument& doc, const KeyPath& key, utility_enum::PrinterType& value)
{
    value = static_cast<utility_enum::PrinterType>(doc.getInt(key, value));
}

// Empty when a member could not be written (no memory): a record is written whole or not at all.
template <typename Record, size_t N>
QString write(const Record& record, const Member<Record> (&members)[N])
{
    JsonDocument doc;
    for (const Member<Record>& member : members)
        if (!std::visit([&](auto field) { return put(doc, keyOf(member.key), record.*field); }, member.field))
            return QString();
    return doc.toCompactString();
}

// A text that does not parse reads like an empty object.
template <typename Record, size_t N>
Record read(const QString& json, const Member<Record> (&members)[N])
{
    const JsonDocument doc(json);
    Record record;
    for (const Member<Record>& member : members)
        std::visit([&](auto field) { take(doc, keyOf(member.key), record.*field); }, member.field);
    return record;
}

const Member<PrinterInfo> kPrinterInfo[] = {
    {"id", &PrinterInfo::id},
    {"name", &PrinterInfo::name},
    {"model", &PrinterInfo::model},
    {"width", &PrinterInfo::width},
    {"connectionType", &PrinterInfo::connectionType},
    {"portName", &PrinterInfo::portName},
    {"hostAddress", &PrinterInfo::hostAddress},
    {"port", &PrinterInfo::port},
    {"connected", &PrinterInfo::connected},
    {"type", &PrinterInfo::type},
};

const Member<PrintCopies> kPrintCopies[] = {
    {"copiesCountOfOrder", &PrintCopies::copiesCountOfOrder},
    {"copiesCountOfDineOrder", &PrintCopies::copiesCountOfDineOrder},
    {"copiesCountOfPhoneOrder", &PrintCopies::copiesCountOfPhoneOrder},
};

const Member<PrinterSettings> kPrinterSettings[] = {
    {"width", &PrinterSettings::width},
    {"copiesCountOfOrder", &PrinterSettings::copiesCountOfOrder},
    {"copiesCountOfDineOrder", &PrinterSettings::copiesCountOfDineOrder},
    {"copiesCountOfPhoneOrder", &PrinterSettings::copiesCountOfPhoneOrder},
};

const Member<GlobalPrintSettings> kGlobalPrintSettings[] = {
    {"isConvertToPinyinEnabled", &GlobalPrintSettings::isConvertToPinyinEnabled},
    {"isSimplifyChineseEnabled", &GlobalPrintSettings::isSimplifyChineseEnabled},
    {"isPrintBarcodeEnabled", &GlobalPrintSettings::isPrintBarcodeEnabled},
    {"spacingBetweenCopies", &GlobalPrintSettings::spacingBetweenCopies},
    {"fontStyle", &GlobalPrintSettings::fontStyle},
};

const Member<SummaryPrintSettings> kSummaryPrintSettings[] = {
    {"width", &SummaryPrintSettings::width},
    {"copiesOfOnlineOrder", &SummaryPrintSettings::copiesOfOnlineOrder},
    {"copiesOfDineOrder", &SummaryPrintSettings::copiesOfDineOrder},
    {"copiesOfPhoneOrder", &SummaryPrintSettings::copiesOfPhoneOrder},
    {"isPrintBarcodeEnabled", &SummaryPrintSettings::isPrintBarcodeEnabled},
    {"lines_between_copies", &SummaryPrintSettings::lines_between_copies},
    {"style", &SummaryPrintSettings::style},
};

const Member<PrinterProperties> kPrinterProperties[] = {
    {"id", &PrinterProperties::id},
    {"name", &PrinterProperties::name},
    {"width", &PrinterProperties::width},
    {"type", &PrinterProperties::type},
};

const Member<ProfileInfo> kProfileInfo[] = {
    {"username", &ProfileInfo::username},
    {"ksid", &ProfileInfo::ksid},
    {"imageUrl", &ProfileInfo::imageUrl},
    {"mobile", &ProfileInfo::mobile},
    {"restaurantNames", &ProfileInfo::restaurantNames},
};

const Member<UserConfig> kUserConfig[] = {
    {"isLaunchAfterSystemStartupEnabled", &UserConfig::isLaunchAfterSystemStartupEnabled},
    {"closeButtonAction", &UserConfig::closeButtonAction},
    {"isDevelopModelEnable", &UserConfig::isDevelopModelEnable},
    {"printerSettingsMode", &UserConfig::printerSettingsMode},
};

const Member<WindowInfo> kWindowInfo[] = {
    {"maximize", &WindowInfo::maximize}, {"zoom_level", &WindowInfo::zoom_level}, {"x", &WindowInfo::x},
    {"y", &WindowInfo::y},               {"width", &WindowInfo::width},           {"height", &WindowInfo::height},
};

const Member<ToneInfo> kToneInfo[] = {{"name", &ToneInfo::name}, {"file", &ToneInfo::file}};

const Member<ResourceFileInfo> kResourceFileInfo[] = {
    {"filename", &ResourceFileInfo::filename},
    {"sha1", &ResourceFileInfo::sha1},
};

}  // namespace

// Every record but ProxyServerInfo follows its table.
#define SB_RECORD_JSON(Record)                                                                                        \
    QString Record::toJson() const { return write(*this, k##Record); }                                               \
    Record Record::fromJson(const QString& json) { return read(json, k##Record); }

SB_RECORD_JSON(PrinterInfo)
SB_RECORD_JSON(PrintCopies)
SB_RECORD_JSON(PrinterSettings)
SB_RECORD_JSON(GlobalPrintSettings)
SB_RECORD_JSON(SummaryPrintSettings)
SB_RECORD_JSON(PrinterProperties)
SB_RECORD_JSON(ProfileInfo)
SB_RECORD_JSON(UserConfig)
SB_RECORD_JSON(WindowInfo)
SB_RECORD_JSON(ToneInfo)
SB_RECORD_JSON(ResourceFileInfo)

#undef SB_RECORD_JSON

PrintCopies PrinterSettings::copies() const
{
    PrintCopies result;
    result.copiesCountOfOrder = copiesCountOfOrder;
    result.copiesCountOfDineOrder = copiesCountOfDineOrder;
    result.copiesCountOfPhoneOrder = copiesCountOfPhoneOrder;
    return result;
}

// The basis file's form: the host that is pinged and the proxy host are one "host" there.
QString ProxyServerInfo::toJson() const
{
    JsonDocument doc;
    doc.setString(keyOf("host"), host);
    doc.setInt(keyOf("port"), port);
    return doc.toCompactString();
}

ProxyServerInfo ProxyServerInfo::fromJson(const QString& json)
{
    const JsonDocument in(json);
    ProxyServerInfo info;
    info.host = in.getString(keyOf("host"), info.host);
    info.address = info.host;
    bool isNumber = false;
    const int portFromText = in.getString(keyOf("port"), QString()).trimmed().toInt(&isNumber);  // "port": "8080"
    info.port = isNumber ? portFromText : in.getInt(keyOf("port"), info.port);
    return info;
}

}  // namespace utility_structs
}  // namespace utility_business
