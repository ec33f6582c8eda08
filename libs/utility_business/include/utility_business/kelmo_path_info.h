#pragma once
// Where the client keeps its files. By default the XDG directories of the user (data under
// $XDG_DATA_HOME/Zhevo, cache under $XDG_CACHE_HOME/Zhevo). SERVICE_BUSINESS_HOME moves the whole tree to
// one directory ("data" and "cache" below it) for tests and portable installs. The resource packages
// (ostinel.rcc, drivers.rcc) are looked for in $SERVICE_BUSINESS_RESOURCES, beside the loaded library,
// in ../share/service_business from it, and in the build tree, in that order.

#include <QString>

namespace utility_business {

class KelmoPathInfo {
public:
    QString appdataDir() const;          // holds Settings-App.json, Settings-Basis.json, Settings-Env.json
    QString profilesDir() const;         // appdataDir + "/Profiles"
    QString profileDir(int id) const;    // profilesDir + "/" + id
    QString resourcesDir() const;        // downloadable resource files listed in the basis file
    QString cacheDir() const;            // the client's cache root
    QString cefcacheDir(int id) const;   // browser cache of one profile
    QString logDir() const;              // appdataDir + "/logs"
    QString ostinelPakPath() const;      // the application resource package
    QString driversPakPath() const;      // the printer-driver resource package

private:
    QString dataRoot() const;
    QString cacheRoot() const;
    QString packagePath(const QString& fileName) const;
};

// The process-wide path service.
const KelmoPathInfo& kelmoPathInfo();

}  // namespace utility_business
