#include "service_business/json_db_browser.h"

#include "service_business/json_db.h"

#include "utility_business/json_document.h"

#include "db/settings_files_p.h"

#include <cjson/cJSON.h>

#include <cmath>
#include <initializer_list>
#include <limits>

namespace service_business {
namespace json_db {

using namespace utility_business;
using namespace settings_keys;

namespace {
const QString kDefaultWidth = QStringLiteral("58mm");


// The first non-empty text of "basis"/`key` in the App document, then in the Basis document, then of `key`
// at the Basis document's top level, where some basis files keep the URLs.
QString basisUrl(const JsonDocument& app, const JsonDocument& basis, const QString& key)
{
    QString value = app.getString({kBasis, key});
    if (value.isEmpty()) value = basis.getString({kBasis, key});
    return value.isEmpty() ? basis.getString({key}) : value;
}

// The object member at each key in turn from node (as JsonDocument finds a path); nullptr when one is missing.
const cJSON* objectAt(const cJSON* node, std::initializer_list<QByteArray> keys)
{
    for (const QByteArray& key : keys) {
        if (!cJSON_IsObject(node)) return nullptr;
        node = cJSON_GetObjectItemCaseSensitive(node, key.constData());
    }
    return node;
}

// JsonDocument::getBool and getInt of the member key of object.
bool boolMember(const cJSON* object, const char* key, bool defaultValue)
{
    const cJSON* node = cJSON_IsObject(object) ? cJSON_GetObjectItemCaseSensitive(object, key) : nullptr;
    return cJSON_IsBool(node) ? cJSON_IsTrue(node) : defaultValue;
}

int intMember(const cJSON* object, const char* key, int defaultValue)
{
    const cJSON* node = cJSON_IsObject(object) ? cJSON_GetObjectItemCaseSensitive(object, key) : nullptr;
    if (!cJSON_IsNumber(node) || std::isnan(node->valuedouble)) return defaultValue;
    const double value = std::trunc(node->valuedouble);
    if (value >= static_cast<double>(std::numeric_limits<int>::max())) return std::numeric_limits<int>::max();
    if (value <= static_cast<double>(std::numeric_limits<int>::min())) return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}

// The object at path when it has members (JsonDocument::childrenNames would not be empty), else nullptr.
const cJSON* objectWithMembers(const JsonDocument& doc, const KeyPath& path)
{
    const cJSON* node = doc.root();
    for (const QString& key : path) {
        if (!cJSON_IsObject(node)) return nullptr;
        const QByteArray bytes = key.toUtf8();
        if (bytes.contains('\0')) return nullptr;
        node = cJSON_GetObjectItemCaseSensitive(node, bytes.constData());
    }
    return cJSON_IsObject(node) && node->child ? node : nullptr;
}

// PrinterSettings::fromJson(doc.toString(path)) of an object, read straight from the tree; the width is left
// at its default, as every caller replaces it. The same as the text's round trip: that prints every finite
// number so that it reads back the same and the others as null, which reads as missing.
PrinterSettings copiesOf(const cJSON* object)
{
    const auto copies = [object](const char* key, int defaultValue) {
        const cJSON* node = cJSON_GetObjectItemCaseSensitive(object, key);
        return cJSON_IsNumber(node) && !std::isfinite(node->valuedouble) ? defaultValue
                                                                         : intMember(object, key, defaultValue);
    };
    PrinterSettings settings;
    settings.copiesCountOfOrder = copies("copiesCountOfOrder", settings.copiesCountOfOrder);
    settings.copiesCountOfDineOrder = copies("copiesCountOfDineOrder", settings.copiesCountOfDineOrder);
    settings.copiesCountOfPhoneOrder = copies("copiesCountOfPhoneOrder", settings.copiesCountOfPhoneOrder);
    return settings;
}

// The names of an object's members that are printer ids.
QList<int> printerIds(const JsonDocument& doc, const KeyPath& path)
{
    QList<int> ids;
    for (const QString& name : doc.childrenNames(path)) {
        bool ok = false;
        const int value = name.toInt(&ok);
        if (ok) ids << value;
    }
    return ids;
}
}  // namespace

Browser::Browser(JsonDB* db) : m_db(db) {}

QString Browser::apiUrl(const QString& name) const
{
    const QString base = basisUrl(m_db->m_appDocument, m_db->m_basisDocument, QStringLiteral("capi_url"));
    return base.isEmpty() ? QString() : base + QLatin1Char('/') + name;
}

QString Browser::startUrl() const
{
    return basisUrl(m_db->m_appDocument, m_db->m_basisDocument, QStringLiteral("start_url"));
}

QString Browser::settingVersion() const { return m_db->m_basisDocument.getString({QStringLiteral("version")}); }

QString Browser::sn() const { return m_db->m_appDocument.getString({QStringLiteral("sn")}); }

QString Browser::getEnvSettings(const QString& key) const { return m_db->m_envDocument.getString({key}); }

QList<ToneInfo> Browser::allTones() const
{
    QList<ToneInfo> tones;
    for (const QString& entry : m_db->m_basisDocument.array({QStringLiteral("tones")}))
        tones << ToneInfo::fromJson(entry);
    return tones;
}

ToneInfo Browser::currentTone() const
{
    const QString text = m_db->m_appDocument.toString({kGeneral, QStringLiteral("tone")});
    return text.isEmpty() ? ToneInfo() : ToneInfo::fromJson(text);
}

QList<ProxyServerInfo> Browser::proxyServersInfo() const
{
    QList<ProxyServerInfo> servers;
    for (const QString& entry : m_db->m_basisDocument.array({QStringLiteral("proxy_servers")}))
        servers << ProxyServerInfo::fromJson(entry);
    return servers;
}

QList<ResourceFileInfo> Browser::resourceFilesInfo() const
{
    QList<ResourceFileInfo> files;
    for (const QString& entry : m_db->m_basisDocument.array({QStringLiteral("resources")}))
        files << ResourceFileInfo::fromJson(entry);
    return files;
}

QMap<int, QString> Browser::profilesMap() const
{
    QMap<int, QString> profiles;
    for (const QString& name : m_db->m_profilesDocument.childrenNames({}))
        profiles.insert(name.toInt(), m_db->m_profilesDocument.getString({name, kLocal, QStringLiteral("username")}));
    return profiles;
}

QString Browser::profileName(int profileId) const
{
    return m_db->m_profilesDocument.getString({idKey(profileId), kLocal, QStringLiteral("username")});
}

ProfileInfo Browser::profileInfo(int profileId) const
{
    const QString text = m_db->m_profilesDocument.toString({idKey(profileId), kLocal});
    return ProfileInfo::fromJson(text.isEmpty() ? QStringLiteral("{}") : text);
}

UserConfig Browser::userConfig(int profileId) const
{
    UserConfig config;
    config.isLaunchAfterSystemStartupEnabled = m_db->m_profilesDocument.getBool(
        {idKey(profileId), kLocal, kGeneral, QStringLiteral("isLaunchAfterSystemStartupEnabled")},
        config.isLaunchAfterSystemStartupEnabled);
    config.closeButtonAction =
        m_db->m_appDocument.getInt({kGeneral, QStringLiteral("closeButtonAction")}, config.closeButtonAction);
    config.isDevelopModelEnable =
        m_db->m_appDocument.getBool({kGeneral, QStringLiteral("isDevelopModelEnable")}, config.isDevelopModelEnable);
    config.printerSettingsMode = printerSettingsMode(profileId) == utility_enum::PRINTER_SETTINGS_BASIS
                                     ? QStringLiteral("basis")
                                     : QStringLiteral("advance");
    return config;
}

bool Browser::hasAppLaunchAtStartUp() const
{
    for (const QString& name : m_db->m_profilesDocument.childrenNames({})) {
        if (m_db->m_profilesDocument.getBool({name, kLocal, kGeneral, QStringLiteral("isLaunchAfterSystemStartupEnabled")}))
            return true;
    }
    return false;
}

WindowInfo Browser::windowInfo(int profileId) const
{
    // The window object is found once and its six members read from it, as JsonDocument::getBool and
    // getInt read them: the default when a member is missing or of another type.
    const cJSON* window = objectAt(m_db->m_profilesDocument.root(), {idKey(profileId).toLatin1(), kRuntime.toLatin1(),
                                                                     QByteArrayLiteral("window_info")});
    WindowInfo info;  // the read defaults: 1008 x 665 at 0, 0, zoom 100, not maximised
    info.maximize = boolMember(window, "maximize", info.maximize);
    info.zoom_level = intMember(window, "zoom_level", info.zoom_level);
    info.x = intMember(window, "x", info.x);
    info.y = intMember(window, "y", info.y);
    info.width = intMember(window, "width", info.width);
    info.height = intMember(window, "height", info.height);
    return info;
}

utility_enum::PrinterSettingsMode Browser::printerSettingsMode(int profileId) const
{
    const QString mode = m_db->m_profilesDocument.getString(
        {idKey(profileId), kLocal, kGeneral, QStringLiteral("printerSettingsMode")}, QStringLiteral("basis"));
    return mode == QLatin1String("basis") ? utility_enum::PRINTER_SETTINGS_BASIS : utility_enum::PRINTER_SETTINGS_ADVANCE;
}

PrinterSettings Browser::basisPrinterSettings(int profileId) const
{
    const cJSON* object =
        objectWithMembers(m_db->m_profilesDocument, {idKey(profileId), kLocal, kPrinters, kBasisPrinterProperties});
    if (!object) return PrinterSettings();
    PrinterSettings settings = copiesOf(object);
    // The basis settings print on the paper of printer 0, whichever printer prints.
    settings.width = m_db->m_appDocument.getString({kPrint, kPrinters, QStringLiteral("0"), kWidth}, kDefaultWidth);
    return settings;
}

PrinterSettings Browser::printSettings(int profileId, int printerId) const
{
    const cJSON* object =
        objectWithMembers(m_db->m_profilesDocument, {idKey(profileId), kLocal, kPrinters, idKey(printerId)});
    if (!object) return PrinterSettings();
    PrinterSettings settings = copiesOf(object);
    // The paper belongs to the printer, not to the profile.
    settings.width = m_db->m_appDocument.getString({kPrint, kPrinters, idKey(printerId), kWidth}, kDefaultWidth);
    return settings;
}

PrintCopies Browser::printCopies(int profileId, int printerId) const
{
    const QString text = m_db->m_profilesDocument.toString({idKey(profileId), kLocal, kPrinters, idKey(printerId)});
    return text.isEmpty() ? PrintCopies() : PrintCopies::fromJson(text);
}

QMap<int, PrintCopies> Browser::enabledPrintCopies(int profileId) const
{
    QMap<int, PrintCopies> copies;
    for (int printerId : printerIds(m_db->m_profilesDocument, {idKey(profileId), kLocal, kPrinters}))
        copies.insert(printerId, printCopies(profileId, printerId));
    return copies;
}

QList<PrinterInfo> Browser::enabledPrinterList(int profileId) const
{
    QList<PrinterInfo> printers;
    for (int printerId : printerIds(m_db->m_profilesDocument, {idKey(profileId), kLocal, kPrinters})) {
        if (m_db->m_appDocument.nodeExist({kPrint, kPrinters, idKey(printerId)})) printers << printerInfo(profileId, printerId);
    }
    return printers;
}

QList<PrinterInfo> Browser::printerList() const
{
    QList<PrinterInfo> printers;
    for (int printerId : printerIds(m_db->m_appDocument, {kPrint, kPrinters})) printers << printerInfo(printerId);
    return printers;
}

PrinterInfo Browser::printerInfo(int printerId) const
{
    const QString text = m_db->m_appDocument.toString({kPrint, kPrinters, idKey(printerId)});
    if (text.isEmpty()) return PrinterInfo();
    PrinterInfo info = PrinterInfo::fromJson(text);
    info.id = printerId;  // the key is the id the registry gave it
    return info;
}

PrinterInfo Browser::printerInfo(int /*profileId*/, int printerId) const
{
    // A profile's entry holds only its copies and a width that is never used (the paper belongs to the
    // printer), so a printer looks the same from every profile.
    return printerInfo(printerId);
}

QMap<int, PrinterProperties> Browser::printerCommonInfoList() const
{
    QMap<int, PrinterProperties> properties;
    for (const PrinterInfo& info : printerList()) {
        PrinterProperties common;
        common.id = info.id;
        common.name = info.name;
        common.width = info.width;
        common.type = info.type;
        properties.insert(info.id, common);
    }
    return properties;
}

GlobalPrintSettings Browser::globalPrintSettings() const
{
    return GlobalPrintSettings::fromJson(m_db->m_appDocument.toString({kPrint}));
}

}  // namespace json_db
}  // namespace service_business
