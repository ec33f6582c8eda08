#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// The printer registry's watch of its printers' status: every interval it reads the status of each stored
// printer that is not printing a job of ours (Printer::printerStatus: a fraction of a second each) and
// publishes each change as a "printerStatusChanged" notification.

#include "service_business/printer_status.h"

#include <QMap>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace service_business {

class PrinterStatusWatch {
public:
    static PrinterStatusWatch& instance();
    // Stops the watch and waits for its thread (at most one status read).
    ~PrinterStatusWatch();

    // Starts watching with this interval, or changes it; a zero interval stops the watch.
    void setInterval(std::chrono::milliseconds interval);
    // The status last read of the printer; Unknown with no source when none was read.
    PrinterStatus last(int printerId) const;

private:
    PrinterStatusWatch() = default;
    void run();
    // One look at every printer; publishes the changes.
    void look();

    mutable std::mutex m_mutex;          // guards the members below; never held while a status is read
    std::condition_variable m_wake;      // cuts the pause short when the interval changes
    std::chrono::milliseconds m_interval{0};
    bool m_stopping = false;
    QMap<int, PrinterStatus> m_last;
    std::thread m_thread;
};

}  // namespace service_business
