#include "printer/print_timeout_monitor_p.h"

#include "printer/dispatch_timing_p.h"
#include "service_business/print_manager.h"

#include <chrono>

namespace service_business {

PrintTimeoutMonitor::PrintTimeoutMonitor(PrintManager* manager) : QThread(manager), manager(manager)
{
    setObjectName(QStringLiteral("print watchdog"));
}

PrintTimeoutMonitor::~PrintTimeoutMonitor()
{
    {
        std::lock_guard<std::mutex> lock(mutex);
        stopping = true;
    }
    wakeUp.notify_all();
    wait();
}

void PrintTimeoutMonitor::run()
{
    if (!manager) return;
    for (;;) {
        manager->checkoutPrinterTimeout();
        std::unique_lock<std::mutex> lock(mutex);
        const std::chrono::milliseconds period(dispatchTiming().watchdogPeriodMs);
        if (wakeUp.wait_for(lock, period, [this] { return stopping; })) return;
    }
}

}  // namespace service_business
