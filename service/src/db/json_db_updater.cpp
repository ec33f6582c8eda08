#include "service_business/json_db_updater.h"

#include "db/json_db_initiator_p.h"
#include "db/settings_files_p.h"
#include "service_business/sync_data.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"

#include "common/common.h"
#include "utility_business/json_document.h"
#include "utility_business/kelmo_path_info.h"
#include "utility_business/log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace service_business {
namespace json_db {

using namespace utility_business;
using namespace settings_keys;
using common::func::joinPath;

namespace {
const char* const kLogUnit = "src/db/json_db_updater";

// The entry record of an operation of the updater.
template <typename... Args>
void logCall(int line, const char* operation, const Args&... arguments)
{
    const std::string name = std::string("service_business::json_db::Updater::") + operation;
    log::entry(kLogUnit, line, name.c_str(), arguments...);
}

void logError(int line, const QString& message) { log::NormalLog("error", kLogUnit, line) << message; }
}  // namespace

Updater::Updater(JsonDB* db) : m_db(db) {}

bool Updater::saveJsonFile(const QString& path, const QString& json)
{
    JsonDocument doc;
    QString error;
    if (!doc.fromString(json, error)) return false;
    return doc.toFile(path);
}

bool Updater::saveAppSetting()
{
    logCall(__LINE__, "saveAppSetting");
    const bool saved = saveJsonFile(joinPath(kelmoPathInfo().appdataDir(), settings_files::kApp), m_db->m_appDocument.toString());
    if (saved) data_manage::sync_data::uploadAppSetting();
    return saved;
}

bool Updater::saveProfileSetting(int profileId)
{
    logCall(__LINE__, "saveProfileSetting", profileId);
    const QString local = m_db->m_profilesDocument.toString({idKey(profileId), kLocal});
    const QString runtime = m_db->m_profilesDocument.toString({idKey(profileId), kRuntime});
    if (local.isEmpty() || runtime.isEmpty()) return false;
    const QString dir = kelmoPathInfo().profileDir(profileId);
    if (!QDir().mkpath(dir)) return false;
    const bool localSaved = saveJsonFile(joinPath(dir, settings_files::kLocal), local);
    const bool runtimeSaved = saveJsonFile(joinPath(dir, settings_files::kRuntime), runtime);
    if (!localSaved || !runtimeSaved) return false;
    data_manage::sync_data::uploadProfileSetting(profileId);
    return true;
}

bool Updater::addPrinter(const PrinterInfo& info)
{
    const QString json = info.toJson();
    logCall(__LINE__, "addPrinter", json);
    return m_db->m_appDocument.addNode(json, {kPrint, kPrinters, idKey(info.id)}) && saveAppSetting();
}

bool Updater::removePrinter(int printerId)
{
    logCall(__LINE__, "removePrinter", printerId);
    return m_db->m_appDocument.removeNode({kPrint, kPrinters, idKey(printerId)}) && saveAppSetting();
}

bool Updater::updatePrinterWidth(int printerId, const QString& width)
{
    logCall(__LINE__, "updatePrinterWidth", printerId, width);
    const KeyPath printer{kPrint, kPrinters, idKey(printerId)};
    if (!m_db->m_appDocument.nodeExist(printer)) return false;
    return m_db->m_appDocument.setString(printer + KeyPath{QStringLiteral("width")}, width) && saveAppSetting();
}

// Profile writes require the profile to be in the store: writing into an unknown id would make a
// half-built profile appear in profilesMap().
bool Updater::enablePrinter(int profileId, int printerId, const PrinterSettings& settings)
{
    const QString json = settings.toJson();
    logCall(__LINE__, "enablePrinter", profileId, printerId, json);
    return m_db->m_profilesDocument.nodeExist({idKey(profileId)}) &&
           m_db->m_profilesDocument.addNode(json, {idKey(profileId), kLocal, kPrinters, idKey(printerId)}) &&
           saveProfileSetting(profileId);
}

bool Updater::disablePrinter(int profileId, int printerId)
{
    logCall(__LINE__, "disablePrinter", profileId, printerId);
    return m_db->m_profilesDocument.removeNode({idKey(profileId), kLocal, kPrinters, idKey(printerId)}) &&
           saveProfileSetting(profileId);
}

bool Updater::updatePrintCopies(int profileId, int printerId, const PrintCopies& copies)
{
    logCall(__LINE__, "updatePrintCopies", profileId, printerId, copies.toJson());
    JsonDocument& doc = m_db->m_profilesDocument;
    const KeyPath printer{idKey(profileId), kLocal, kPrinters, idKey(printerId)};
    if (!doc.nodeExist(printer)) return false;
    return doc.setInt(printer + KeyPath{QStringLiteral("copiesCountOfOrder")}, copies.copiesCountOfOrder) &&
           doc.setInt(printer + KeyPath{QStringLiteral("copiesCountOfDineOrder")}, copies.copiesCountOfDineOrder) &&
           doc.setInt(printer + KeyPath{QStringLiteral("copiesCountOfPhoneOrder")}, copies.copiesCountOfPhoneOrder) &&
           saveProfileSetting(profileId);
}

bool Updater::setBasisPrinterSettings(int profileId, const PrintCopies& copies)
{
    const QString json = copies.toJson();
    logCall(__LINE__, "setBasisPrinterSettings", profileId, json);
    return m_db->m_profilesDocument.nodeExist({idKey(profileId)}) &&
           m_db->m_profilesDocument.addNode(
               json, {idKey(profileId), kLocal, kPrinters, kBasisPrinterProperties}) &&
           saveProfileSetting(profileId);
}

bool Updater::setPrinterSettingsMode(int profileId, utility_enum::PrinterSettingsMode mode)
{
    logCall(__LINE__, "setPrinterSettingsMode", profileId, static_cast<int>(mode));
    const QString text = mode == utility_enum::PRINTER_SETTINGS_BASIS ? QStringLiteral("basis") : QStringLiteral("advance");
    return m_db->m_profilesDocument.nodeExist({idKey(profileId)}) &&
           m_db->m_profilesDocument.setString({idKey(profileId), kLocal, kGeneral, QStringLiteral("printerSettingsMode")}, text) &&
           saveProfileSetting(profileId);
}

bool Updater::setPrinterGlobalSettings(const GlobalPrintSettings& settings)
{
    logCall(__LINE__, "setPrinterGlobalSettings", settings.toJson());
    JsonDocument& doc = m_db->m_appDocument;
    return doc.setBool({kPrint, QStringLiteral("isConvertToPinyinEnabled")}, settings.isConvertToPinyinEnabled) &&
           doc.setBool({kPrint, QStringLiteral("isSimplifyChineseEnabled")}, settings.isSimplifyChineseEnabled) &&
           doc.setBool({kPrint, QStringLiteral("isPrintBarcodeEnabled")}, settings.isPrintBarcodeEnabled) &&
           doc.setString({kPrint, QStringLiteral("spacingBetweenCopies")}, settings.spacingBetweenCopies) &&
           doc.setString({kPrint, QStringLiteral("fontStyle")}, settings.fontStyle) && saveAppSetting();
}

bool Updater::setCurrentTone(const ToneInfo& tone)
{
    const QString json = tone.toJson();
    logCall(__LINE__, "setCurrentTone", json);
    return m_db->m_appDocument.addNode(json, {kGeneral, QStringLiteral("tone")}) && saveAppSetting();
}

bool Updater::setSN(const QString& sn)
{
    logCall(__LINE__, "setSN", sn);
    return m_db->m_appDocument.setString({QStringLiteral("sn")}, sn) && saveAppSetting();
}

bool Updater::setEnvSettings(const QString& key, const QString& value)
{
    logCall(__LINE__, "setEnvSettings", key, value);
    return m_db->m_envDocument.setString({key}, value) &&
           saveJsonFile(joinPath(kelmoPathInfo().appdataDir(), settings_files::kEnv), m_db->m_envDocument.toString());
}

bool Updater::updateUserConfig(int profileId, const UserConfig& config)
{
    logCall(__LINE__, "updateUserConfig", profileId, config.toJson());
    JsonDocument& profiles = m_db->m_profilesDocument;
    JsonDocument& app = m_db->m_appDocument;
    const KeyPath general{idKey(profileId), kLocal, kGeneral};
    if (!profiles.nodeExist({idKey(profileId)})) return false;
    const bool set =
        profiles.setBool(general + KeyPath{QStringLiteral("isLaunchAfterSystemStartupEnabled")},
                         config.isLaunchAfterSystemStartupEnabled) &&
        profiles.setString(general + KeyPath{QStringLiteral("printerSettingsMode")}, config.printerSettingsMode) &&
        app.setBool({kGeneral, QStringLiteral("isDevelopModelEnable")}, config.isDevelopModelEnable) &&
        app.setInt({kGeneral, QStringLiteral("closeButtonAction")}, config.closeButtonAction);
    if (!set) return false;
    // Both files are saved even when the first fails, so each holds what it can.
    const bool profileSaved = saveProfileSetting(profileId);
    const bool appSaved = saveAppSetting();
    return profileSaved && appSaved;
}

bool Updater::updateWindowInfo(int profileId, const WindowInfo& info)
{
    logCall(__LINE__, "updateWindowInfo", profileId, info.toJson());
    JsonDocument& doc = m_db->m_profilesDocument;
    const KeyPath window{idKey(profileId), kRuntime, kWindowInfo};
    auto member = [&](const char* name) { return window + KeyPath{QLatin1String(name)}; };
    return doc.nodeExist({idKey(profileId)}) && doc.setBool(member("maximize"), info.maximize) &&
           doc.setInt(member("zoom_level"), info.zoom_level) && doc.setInt(member("x"), info.x) &&
           doc.setInt(member("y"), info.y) && doc.setInt(member("width"), info.width) &&
           doc.setInt(member("height"), info.height) && saveProfileSetting(profileId);
}

bool Updater::updateProfile(int profileId, const ProfileInfo& info)
{
    const QString json = info.toJson();
    logCall(__LINE__, "updateProfile", profileId, json);
    JsonDocument& profiles = m_db->m_profilesDocument;
    const KeyPath local{idKey(profileId), kLocal};
    if (!profiles.nodeExist({idKey(profileId)})) return false;
    const bool set = profiles.setString(local + KeyPath{kUsername}, info.username) &&
                     m_db->m_appDocument.setString({kProfiles, idKey(profileId), kUsername}, info.username) &&
                     profiles.setString(local + KeyPath{QStringLiteral("ksid")}, info.ksid) &&
                     profiles.setString(local + KeyPath{QStringLiteral("imageUrl")}, info.imageUrl) &&
                     profiles.setString(local + KeyPath{QStringLiteral("mobile")}, info.mobile) &&
                     profiles.setStringList(local + KeyPath{QStringLiteral("restaurantNames")}, info.restaurantNames);
    if (!set) return false;
    const bool appSaved = saveAppSetting();
    const bool profileSaved = saveProfileSetting(profileId);
    return appSaved && profileSaved;
}

int Updater::addProfile(const ProfileInfo& info)
{
    const QString json = info.toJson();
    logCall(__LINE__, "addProfile", json);
    const int newId = generateNewProfileID();
    const QString local = constructDefaultProfileLocal(info);
    const QString runtime = constructDefaultProfileRuntime();
    if (local.isEmpty() || runtime.isEmpty()) {
        // The id is returned although nothing was stored: callers notice the profile's absence later.
        logError(__LINE__, QStringLiteral("profile josn file is empty, LOCAL:%1\n RUNTIME:%2").arg(local, runtime));
        return newId;
    }

    JsonDocument member;
    if (!member.addNode(local, {kLocal}) || !member.addNode(runtime, {kRuntime})) return -1;
    JsonDocument entry;
    if (!entry.setString({kUsername}, info.username)) return -1;

    const KeyPath appEntry{kProfiles, idKey(newId)};
    if (!m_db->m_appDocument.addNode(entry.toString(), appEntry)) return -1;
    if (!m_db->m_profilesDocument.addNode(member.toString(), {idKey(newId)})) {
        m_db->m_appDocument.removeNode(appEntry);
        return -1;
    }
    // The App file is saved only after the profile's files, so it never lists a profile without them.
    if (saveProfileSetting(newId) && saveAppSetting()) return newId;

    m_db->m_profilesDocument.removeNode({idKey(newId)});
    m_db->m_appDocument.removeNode(appEntry);
    logError(__LINE__, QStringLiteral("failed to save profile json"));
    return -1;
}

bool Updater::removeProfile(int profileId)
{
    logCall(__LINE__, "removeProfile", profileId);
    const bool listed = m_db->m_appDocument.removeNode({kProfiles, idKey(profileId)});
    const bool loaded = m_db->m_profilesDocument.removeNode({idKey(profileId)});
    return (listed || loaded) && saveAppSetting();
}

bool Updater::reloadBasisSetting()
{
    logCall(__LINE__, "reloadBasisSetting");
    return m_db->m_initiator->reloadBasis();
}

QString Updater::constructDefaultProfileRuntime()
{
    logCall(__LINE__, "constructDefaultProfileRuntime");
    JsonDocument doc;
    auto member = [](const char* name) { return KeyPath{kWindowInfo, QLatin1String(name)}; };
    // A new window opens at these values; the read defaults (Browser::windowInfo) differ on purpose.
    const bool set = doc.setBool(member("maximize"), false) && doc.setInt(member("zoom_level"), 100) &&
                     doc.setInt(member("x"), 620) && doc.setInt(member("y"), 243) &&
                     doc.setInt(member("width"), 1000) && doc.setInt(member("height"), 631);
    return set ? doc.toString() : QString();
}

QString Updater::constructDefaultProfileLocal(const ProfileInfo& info)
{
    JsonDocument doc;
    QString error;
    PrinterSettings basis;
    basis.width = QStringLiteral("58mm");
    const bool set = doc.fromString(info.toJson(), error) &&
                     doc.setBool({kGeneral, QStringLiteral("isLaunchAfterSystemStartupEnabled")}, true) &&
                     doc.setString({kGeneral, QStringLiteral("printerSettingsMode")}, QStringLiteral("basis")) &&
                     doc.addNode(QStringLiteral("{}"), {kPrinters}) &&
                     doc.addNode(basis.toJson(), {kPrinters, kBasisPrinterProperties});
    return set ? doc.toString() : QString();
}

int Updater::generateNewProfileID()
{
    logCall(__LINE__, "generateNewProfileID");
    const QMap<int, QString> profiles = m_db->m_browser->profilesMap();
    // Terminates: removing a directory that does not exist succeeds, and only finitely many exist.
    for (int candidate = 1;; ++candidate) {
        if (profiles.contains(candidate)) continue;
        // A leftover of an earlier profile must not leak into the new one, nor a stray file block the id.
        const QString dir = kelmoPathInfo().profileDir(candidate);
        const QFileInfo leftover(dir);
        const bool cleared = leftover.isDir() && !leftover.isSymLink() ? QDir(dir).removeRecursively()
                                                                        : QFile::remove(dir) || !leftover.exists();
        if (cleared) return candidate;
    }
}

}  // namespace json_db
}  // namespace service_business
