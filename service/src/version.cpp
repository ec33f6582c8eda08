#include "service_business/export.h"

namespace service_business {
// The library's version, for the client's diagnostics.
SERVICE_BUSINESS_EXPORT const char* version() { return "1.0.0"; }
}  // namespace service_business
