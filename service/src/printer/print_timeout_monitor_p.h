#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// The watchdog of the print workers: every second it has the manager kill and restart each worker whose
// job has been printing for more than ten seconds.

#include <QThread>

#include <condition_variable>
#include <mutex>

namespace service_business {

class PrintManager;

class PrintTimeoutMonitor : public QThread {
    Q_OBJECT

public:
    // A child of the manager.
    explicit PrintTimeoutMonitor(PrintManager* manager);
    // Stops the watchdog and waits for it.
    ~PrintTimeoutMonitor() override;

protected:
    void run() override;

private:
    PrintManager* const manager;

    std::mutex mutex;                // guards stopping; a leaf lock
    std::condition_variable wakeUp;  // cuts the pause short when stopping
    bool stopping = false;
};

}  // namespace service_business
