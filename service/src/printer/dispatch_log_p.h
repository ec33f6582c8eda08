#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// The log records of print dispatch (manager, workers and watchdog), all under one source unit.

#include "utility_business/log.h"

namespace service_business {
namespace dispatch_log {

constexpr const char* kUnit = "src/printer/print_manager";

template <typename... Arguments>
void entry(int line, const char* function, const Arguments&... arguments)
{
    utility_business::log::entry(kUnit, line, function, arguments...);
}

template <typename... Parts>
void message(int line, const Parts&... parts)
{
    utility_business::log::NormalLog record("message", kUnit, line);
    ((record << parts), ...);
}

// An object's address as a decimal number, as the records name workers.
inline unsigned long long address(const void* object)
{
    return reinterpret_cast<unsigned long long>(object);
}

}  // namespace dispatch_log
}  // namespace service_business
