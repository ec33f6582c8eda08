#pragma once
//
//  Not part of the library's interface: shared inside service_business and with its tests only.
//
// Names of the settings files and of their factory copies in the resource package.

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
}  // namespace service_business
