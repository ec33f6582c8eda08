#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// Names of the settings files, of their factory copies in the resource package, and of the keys that the
// reads and the writes of the store share.

#include <QString>

namespace service_business {
namespace settings_files {

constexpr const char kApp[] = "Settings-App.json";
constexpr const char kBasis[] = "Settings-Basis.json";
constexpr const char kEnv[] = "Settings-Env.json";
constexpr const char kLocal[] = "Settings-Local.json";      // one per profile directory
constexpr const char kRuntime[] = "Settings-Runtime.json";  // one per profile directory
constexpr const char kProfilesDirName[] = "Profiles";

// Member names of the factory copies inside the resource package.
constexpr const char kPackagedApp[] = "setting/Settings-App.json";
constexpr const char kPackagedBasis[] = "setting/Settings-Basis.json";
constexpr const char kPackagedEnv[] = "setting/Settings-Env.json";

}  // namespace settings_files

namespace settings_keys {

const QString kBasis = QStringLiteral("basis");
const QString kGeneral = QStringLiteral("general");
const QString kLocal = QStringLiteral("local");      // a profile's Settings-Local.json in the profiles document
const QString kRuntime = QStringLiteral("runtime");  // a profile's Settings-Runtime.json in the profiles document
const QString kPrint = QStringLiteral("print");
const QString kPrinters = QStringLiteral("printers");
const QString kProfiles = QStringLiteral("profiles");
const QString kUsername = QStringLiteral("username");
const QString kWidth = QStringLiteral("width");
const QString kWindowInfo = QStringLiteral("window_info");
const QString kBasisPrinterProperties = QStringLiteral("defaulePrinterProperties");  // spelt so in the files

// A profile or printer id as the key it is stored under.
inline QString idKey(int id) { return QString::number(id); }

}  // namespace settings_keys
}  // namespace service_business
