#pragma once
// Start-up integrity pass over the settings files. Run checkSettings() before the first use of the store.

#include "service_business/export.h"

namespace service_business {
namespace data_manage {
namespace data_checker {

// Repairs a missing or unparsable Settings-App.json, Settings-Basis.json or Settings-Env.json from the
// factory copies in the resource package. Restoring the App file drops every profile (its directory is
// deleted), since the factory file lists none. False only when a file could not be repaired.
SERVICE_BUSINESS_EXPORT bool checkSettings();

// Whether every resource file the basis settings list exists with the listed SHA-1.
SERVICE_BUSINESS_EXPORT bool checkResourceFiles();

}  // namespace data_checker
}  // namespace data_manage
}  // namespace service_business
