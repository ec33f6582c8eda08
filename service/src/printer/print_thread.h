#pragma once
//
//  Not part of the library's interface: shared inside service_business and with its tests only.
//
// The worker thread of one printer id: it prints its queued jobs one after another, by the path of each
// job's printer type, and tells each job's caller the outcome. The watchdog kills a worker whose job runs
// too long and restarts it; a printer change stops it for good.

#include "systemif/print.h"
#include "utility_business/utility_structs.h"

#include <QList>
#include <QThread>

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>

namespace service_business {

// One job.
struct PrintItem {
    utility_business::PrinterInfo info;
    systemif::print::Document doc;
    std::function<void(bool)> callback;
};

// An outcome owed to a caller, told once the locks of print dispatch are released, so that a callback
// may queue another job.
struct PrintReport {
    std::function<void(bool)> callback;
    bool ok = false;
};
using PrintReports = QList<PrintReport>;

class PrintThread : public QThread {
    Q_OBJECT

public:
    static constexpr int capacity = 50;  // the most jobs a queue holds

    // Made for the printer id, which names the thread ("print worker 3") and stays its name when the
    // manager files the worker under a new id. It must be stopped with cancelAllAndStop before it is deleted.
    explicit PrintThread(int printerId);

    // Appends the job unless the queue is full; a job that does not fit is dropped and its caller never
    // hears of it.
    bool push(const PrintItem& item);
    // Whether the current turn of the worker (the job being printed) has lasted longer than `limitMs`.
    bool isOverdue(qint64 limitMs) const;

    // Kills the worker, takes the job it was printing off the queue and restarts it for the rest of the
    // queue. Returns the killed job's outcome: false, or true when the spooler had printed it already;
    // nothing when its caller has been told. The job is cancelled at the spooler.
    PrintReports cancelPrintCurrentOrder();
    // Stops the worker for good and empties the queue: the job being printed as above, every other job
    // false. An idle worker is stopped without being killed.
    PrintReports cancelAllAndStop();

protected:
    void run() override;

private:
    // Waits for a job and copies the front job into `item`; false when the worker is to stop.
    bool nextJob(PrintItem& item);
    void print(const PrintItem& item);
    // Removes the front job into `item`, with whether its caller has been told; false when the queue is
    // empty. Called by the worker once the job is done, or by whoever stopped the worker.
    bool takeFront(PrintItem& item, bool& reported);
    // Ends the thread and waits until it is gone: an idle worker stops at once, one that is printing is
    // terminated.
    void kill();
    // Removes the job a stopped worker was printing and returns the outcome owed for it; a job it had not
    // begun stays queued.
    PrintReports takeKilledJob();

    // Lock order: PrintManager::mutex, then this mutex, then jobSlot's own. Never held while printing or
    // telling a caller.
    std::mutex mutex;                 // guards printList, frontStarted and stopping
    std::condition_variable queued;   // wakes an idle worker: a job was queued, or it is to stop
    QList<PrintItem> printList;       // the front item is the one being printed
    bool frontStarted = false;        // the worker has begun the front job
    bool stopping = false;            // the worker is to end instead of beginning another job

    // Monotonic time (ms) at which the current turn of the run loop began; kNotBusy before the first turn.
    std::atomic<qint64> busySince;
    // The caller of the front job has been told its outcome (set by the worker, read once it is dead).
    std::atomic<bool> frontReported{false};
    // The spooler job of the front job, for the watchdog to cancel.
    systemif::print::PrintJobSlot jobSlot;
};

}  // namespace service_business
