#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// The worker thread of one printer id: it prints its queued jobs one after another, by the path of each
// job's printer type, and tells each job's caller the outcome. When the watchdog or a printer change
// gives its job up, the worker is retired: its queue is taken from it at once, and the thread is left to
// end by itself when the call it is in returns (every print path gives up within seconds), without being
// waited for.

#include "service_business/print_manager.h"

#include "systemif/print.h"
#include "utility_business/utility_structs.h"

#include <QList>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>

namespace service_business {

// One job.
struct PrintItem {
    utility_business::PrinterInfo info;
    systemif::print::Document doc;
    PrintJobWatch watch;
    std::shared_ptr<systemif::print::PrintJobSlot> slot;  // shared with whoever gives the job up
    quint64 number = 0;                                    // the job's number in this process
};

// Tells the job's caller its outcome and writes the job's outcome record. Called once per job, with no
// lock of print dispatch held.
void tellOutcome(const PrintItem& item, const systemif::print::PrintJobSlot::Report& report);

class PrintThread : public QThread {
    Q_OBJECT

public:
    static constexpr int capacity = 50;  // the most jobs a queue holds

    // What a retired worker leaves: the job it had begun, if any, and the jobs it had not.
    struct Taken {
        std::optional<PrintItem> current;
        QList<PrintItem> queued;
    };

    // Made for the printer id, which names the thread ("print worker 3") and stays its name when the
    // manager files the worker under a new id.
    explicit PrintThread(int printerId);
    // Only once the thread has ended (isFinished) or never started.
    ~PrintThread() override;

    // Appends the job unless the queue is full; a job that does not fit is dropped and its caller never
    // hears of it.
    bool push(const PrintItem& item);
    // Takes over the jobs of a retired worker, before start.
    void adopt(const QList<PrintItem>& items);
    // Whether it has begun a job that has not ended.
    bool isPrinting() const;
    // Whether the current turn of the worker (the job being printed, and the telling of its outcome) has
    // lasted longer than `limitMs`.
    bool isOverdue(qint64 limitMs) const;
    // The queued or printing job of that number, if the worker holds it.
    std::optional<PrintItem> itemOf(quint64 number) const;

    // Retire the worker for the watchdog (the rest of the queue goes to a new worker) or for good (a
    // printer change, the manager's end). Neither waits for the thread.
    Taken cancelPrintCurrentOrder();
    Taken cancelAllAndStop();

protected:
    void run() override;

private:
    // Waits for a job and copies the front job into `item`; false when the worker is retired.
    bool nextJob(PrintItem& item);
    void print(const PrintItem& item);
    // Removes the finished front job, unless the worker was retired meanwhile.
    void popFront();
    Taken retire();

    // Lock order: PrintManager::mutex, then this mutex, then a job slot's own. Never held while printing,
    // telling a caller or waiting for anything but work.
    mutable std::mutex mutex;        // guards printList, frontStarted, retired and idle
    std::condition_variable queued;  // wakes an idle worker: a job was queued, or it is retired
    QList<PrintItem> printList;      // the front item is the one being printed
    bool frontStarted = false;       // the worker has begun the front job
    bool retired = false;            // the queue has been taken away; the thread is to end
    bool idle = false;               // the worker waits for work on `queued`

    // Monotonic time (ms) at which the current turn of the run loop began; kNotBusy before the first turn.
    std::atomic<qint64> busySince;
};

}  // namespace service_business
