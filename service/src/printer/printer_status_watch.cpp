#include "printer/printer_status_watch_p.h"

#include "service_business/notifications.h"
#include "service_business/print_manager.h"
#include "service_business/printer.h"
#include "service_business/printer_manager.h"

namespace service_business {

PrinterStatusWatch& PrinterStatusWatch::instance()
{
    static PrinterStatusWatch watch;
    return watch;
}

PrinterStatusWatch::~PrinterStatusWatch()
{
    setInterval(std::chrono::milliseconds(0));
}

void PrinterStatusWatch::setInterval(std::chrono::milliseconds interval)
{
    std::thread finished;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_interval = interval;
        m_stopping = interval.count() <= 0;
        if (!m_stopping && !m_thread.joinable()) m_thread = std::thread([this] { run(); });
        if (m_stopping) finished = std::move(m_thread);
    }
    m_wake.notify_all();
    if (finished.joinable()) finished.join();
}

PrinterStatus PrinterStatusWatch::last(int printerId) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_last.value(printerId);
}

void PrinterStatusWatch::run()
{
    for (;;) {
        look();
        std::unique_lock<std::mutex> lock(m_mutex);
        const std::chrono::milliseconds interval = m_interval;
        if (m_wake.wait_for(lock, interval, [&] { return m_stopping || m_interval != interval; }) && m_stopping)
            return;
    }
}

void PrinterStatusWatch::look()
{
    for (const utility_business::PrinterInfo& printer : PrinterManager::printerInfoList()) {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_stopping) return;
        }
        // A printer that serves one connection at a time must not make a job of ours wait for a status read.
        if (PrintManager::isPrinting(printer.id)) continue;
        const PrinterStatus status = Printer::printerStatus(printer);
        bool changed = false;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            changed = !m_last.contains(printer.id) || !m_last.value(printer.id).sameAs(status);
            m_last.insert(printer.id, status);
        }
        if (changed) utility::notifyAppPrinterStatusChanged(printer.id, status);
    }
}

}  // namespace service_business
