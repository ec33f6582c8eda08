#include "printer/dispatch_timing_p.h"

#include <atomic>

namespace service_business {

namespace {
std::atomic<int> g_jobLimitMs{DispatchTiming().jobLimitMs};
std::atomic<int> g_watchdogPeriodMs{DispatchTiming().watchdogPeriodMs};
}  // namespace

DispatchTiming dispatchTiming()
{
    DispatchTiming timing;
    timing.jobLimitMs = g_jobLimitMs.load();
    timing.watchdogPeriodMs = g_watchdogPeriodMs.load();
    return timing;
}

void setDispatchTimingForTesting(const DispatchTiming& timing)
{
    g_jobLimitMs = timing.jobLimitMs;
    g_watchdogPeriodMs = timing.watchdogPeriodMs;
}

}  // namespace service_business
