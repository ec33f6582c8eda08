#include "service_business/data_checker.h"

#include "db/settings_files_p.h"
#include "service_business/sync_data.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"

#include "common/common.h"
#include "resource_parser/res_loader.h"
#include "systemif/hash.h"
#include "utility_business/json_document.h"
#include "utility_business/kelmo_path_info.h"
#include "utility_business/log.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

namespace service_business {
namespace data_manage {
namespace data_checker {

using common::func::joinPath;
using utility_business::JsonDocument;
using utility_business::KeyPath;
using utility_business::kelmoPathInfo;

namespace {

// A settings file is good when it exists and parses; its contents are not inspected.
bool loads(const QString& path)
{
    JsonDocument doc;
    return doc.fromFile(path);
}

bool appFileGood() { return loads(joinPath(kelmoPathInfo().appdataDir(), settings_files::kApp)); }
bool basisFileGood() { return loads(joinPath(kelmoPathInfo().appdataDir(), settings_files::kBasis)); }
bool envFileGood() { return loads(joinPath(kelmoPathInfo().appdataDir(), settings_files::kEnv)); }

bool checkProfileFiles(int profileId)
{
    const QString dir = kelmoPathInfo().profileDir(profileId);
    return loads(joinPath(dir, settings_files::kLocal)) && loads(joinPath(dir, settings_files::kRuntime));
}

bool checkProfiles()
{
    JsonDocument app;
    app.fromFile(joinPath(kelmoPathInfo().appdataDir(), settings_files::kApp));
    for (const QString& name : app.childrenNames({QStringLiteral("profiles")})) {
        if (!checkProfileFiles(name.toInt())) return false;
    }
    return true;
}

// The factory copy of a settings file, parsed; false when the package lacks it or it does not parse.
bool loadPackaged(const char* member, JsonDocument& doc)
{
    const QString text = resource::ResLoader::get(kelmoPathInfo().ostinelPakPath())->getFileText(QLatin1String(member));
    QString error;
    return doc.fromString(text, error);
}

constexpr int kDamagedCopiesKept = 3;

// A damaged file is moved aside before the factory copy replaces it, as "<name>.damaged-<UTC time>" with
// the newest few kept, so that what it held can still be recovered by hand. A missing file has nothing to
// keep, and a directory where the file belongs is left for the save to fail on. False when it cannot be moved.
bool keepDamagedAside(const QDir& dir, const QString& name)
{
    const QString path = dir.filePath(name);
    if (!QFileInfo(path).isFile()) return true;
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd-HHmmss-zzz"));
    QString kept = dir.filePath(name + QStringLiteral(".damaged-") + stamp);
    for (int n = 1; QFileInfo::exists(kept); ++n)  // two restores within a millisecond
        kept = dir.filePath(name + QStringLiteral(".damaged-%1-%2").arg(stamp).arg(n));
    const bool moved = QFile::rename(path, kept);
    utility_business::log::NormalLog("error", "src/db/data_checker", __LINE__)
        << path << (moved ? QStringLiteral(" is damaged: kept as %1, restoring the factory copy").arg(kept)
                          : QStringLiteral(" is damaged and cannot be moved aside to %1: not restored").arg(kept));
    QStringList copies = dir.entryList({name + QStringLiteral(".damaged-*")}, QDir::Files | QDir::Hidden, QDir::Name);
    while (copies.size() > kDamagedCopiesKept) QFile::remove(dir.filePath(copies.takeFirst()));
    return moved;
}

// On a new installation the application-data directory does not exist yet: make it before the first save.
bool saveToAppdata(const JsonDocument& doc, const char* fileName)
{
    const QDir dir(kelmoPathInfo().appdataDir());
    return QDir().mkpath(dir.path()) && keepDamagedAside(dir, QLatin1String(fileName)) &&
           doc.toFile(dir.filePath(QLatin1String(fileName)));
}

bool restoreFile(const char* member, const char* fileName)
{
    JsonDocument doc;
    return loadPackaged(member, doc) && saveToAppdata(doc, fileName);
}

bool restoreAppSettingFile() { return restoreFile(settings_files::kPackagedApp, settings_files::kApp); }
bool restoreEnvSettingFile() { return restoreFile(settings_files::kPackagedEnv, settings_files::kEnv); }

// The factory basis file lists the resource files with their packaged hashes; the restored file records
// the hashes of the files actually present, so that checkResourceFiles() judges what is on disk.
bool restoreBasisSettingFile()
{
    JsonDocument doc;
    if (!loadPackaged(settings_files::kPackagedBasis, doc)) return false;
    const KeyPath resourcesPath{QStringLiteral("resources")};
    if (doc.nodeExist(resourcesPath)) {
        QStringList entries = doc.array(resourcesPath);
        for (QString& text : entries) {
            JsonDocument entry(text);
            const QString path = joinPath(kelmoPathInfo().resourcesDir(), entry.getString({QStringLiteral("filename")}));
            if (!QFileInfo(path).isFile()) continue;
            entry.setString({QStringLiteral("sha1")}, systemif::hash::calculateFileSha1Hash(path));
            text = entry.toString();
        }
        // Replacing the array in place keeps the factory layout of the file.
        if (!doc.addObjArray(entries, resourcesPath)) return false;
    }
    return saveToAppdata(doc, settings_files::kBasis);
}

}  // namespace

bool checkSettings()
{
    if (appFileGood()) {
        // Deliberately no repair: a profile with broken files reads as defaults, and its next save
        // writes both of its files again.
        checkProfiles();
    } else if (!sync_data::downloadAppSetting()) {
        if (!restoreAppSettingFile()) return false;
        // The factory App file lists no profiles, so their directories are orphans now.
        QDir(kelmoPathInfo().profilesDir()).removeRecursively();
    }

    if (!basisFileGood() && !sync_data::downloadBasis() && !restoreBasisSettingFile()) return false;

    if (envFileGood()) return true;
    return sync_data::downloadEnvSettingFile() || restoreEnvSettingFile();
}

bool checkResourceFiles()
{
    const QString dir = kelmoPathInfo().resourcesDir();
    for (const utility_business::ResourceFileInfo& file : json_db::JsonDB::browser()->resourceFilesInfo()) {
        const QString path = joinPath(dir, file.filename);
        if (!QFileInfo(path).isFile() || systemif::hash::calculateFileSha1Hash(path) != file.sha1) return false;
    }
    return true;
}

}  // namespace data_checker
}  // namespace data_manage
}  // namespace service_business
