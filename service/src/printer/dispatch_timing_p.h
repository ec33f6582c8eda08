#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// The watchdog's timing. The defaults are what the client runs with; tests of the kill logic shorten them.

namespace service_business {

struct DispatchTiming {
    int jobLimitMs = 10000;       // a job may print this long before the watchdog kills it
    int watchdogPeriodMs = 1000;  // how often the watchdog looks
};

DispatchTiming dispatchTiming();
// Takes effect at the watchdog's next look.
void setDispatchTimingForTesting(const DispatchTiming& timing);
// Stops every worker (as a printer change to no printers) and waits until no thread of print dispatch is
// left running (workers given up, closers); false when one still runs at the time-out. Tests call it before
// the fake print services they used go away.
bool stopDispatchForTesting(int timeoutMs);

}  // namespace service_business
