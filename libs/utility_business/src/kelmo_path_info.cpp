#include "utility_business/kelmo_path_info.h"

#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

#include <dlfcn.h>

namespace utility_business {

namespace {
const char* const kBrand = "Zhevo";

QString homeOverride()
{
    return QString::fromLocal8Bit(qgetenv("SERVICE_BUSINESS_HOME"));
}

// Directory of the shared object (or executable) that holds this code.
QString loadedBinaryDir()
{
    Dl_info info;
    if (dladdr(reinterpret_cast<void*>(&loadedBinaryDir), &info) == 0 || !info.dli_fname) return {};
    return QFileInfo(QString::fromLocal8Bit(info.dli_fname)).absolutePath();
}
}  // namespace

QString KelmoPathInfo::dataRoot() const
{
    const QString home = homeOverride();
    if (!home.isEmpty()) return QDir::cleanPath(home + QStringLiteral("/data"));
    return QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + '/' + kBrand);
}

QString KelmoPathInfo::cacheRoot() const
{
    const QString home = homeOverride();
    if (!home.isEmpty()) return QDir::cleanPath(home + QStringLiteral("/cache"));
    return QDir::cleanPath(QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + '/' + kBrand);
}

QString KelmoPathInfo::appdataDir() const { return dataRoot(); }
QString KelmoPathInfo::profilesDir() const { return appdataDir() + QStringLiteral("/Profiles"); }
QString KelmoPathInfo::profileDir(int id) const { return profilesDir() + '/' + QString::number(id); }
QString KelmoPathInfo::resourcesDir() const { return appdataDir() + QStringLiteral("/resources"); }
QString KelmoPathInfo::cacheDir() const { return cacheRoot(); }
QString KelmoPathInfo::cefcacheDir(int id) const { return cacheRoot() + QStringLiteral("/cef/") + QString::number(id); }
QString KelmoPathInfo::logDir() const { return appdataDir() + QStringLiteral("/logs"); }
QString KelmoPathInfo::ostinelPakPath() const { return packagePath(QStringLiteral("ostinel.rcc")); }
QString KelmoPathInfo::driversPakPath() const { return packagePath(QStringLiteral("drivers.rcc")); }

QString KelmoPathInfo::packagePath(const QString& fileName) const
{
    QStringList candidates;
    const QString env = QString::fromLocal8Bit(qgetenv("SERVICE_BUSINESS_RESOURCES"));
    if (!env.isEmpty()) candidates << env;
    const QString binDir = loadedBinaryDir();
    if (!binDir.isEmpty()) candidates << binDir << binDir + QStringLiteral("/../share/service_business");
#ifdef SB_BUILD_RESOURCE_DIR
    candidates << QStringLiteral(SB_BUILD_RESOURCE_DIR);
#endif
    for (const QString& dir : candidates) {
        const QString path = QDir::cleanPath(dir + '/' + fileName);
        if (QFileInfo::exists(path)) return path;
    }
    // Nothing found: name the first candidate so that callers report a clear missing path.
    return candidates.isEmpty() ? fileName : QDir::cleanPath(candidates.first() + '/' + fileName);
}

const KelmoPathInfo& kelmoPathInfo()
{
    static const KelmoPathInfo info;
    return info;
}

}  // namespace utility_business
