#include "printer/job_closer_p.h"

#include "printer/dispatch_log_p.h"

#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>

namespace service_business {
namespace job_closer {

namespace {

const std::chrono::seconds kRetryInterval(1);
const std::chrono::milliseconds kTellWithin(500);

struct Closers {
    std::mutex mutex;  // guards running; a leaf lock
    std::condition_variable idle;
    int running = 0;
};

// Never destroyed: a thread still waiting for the spooler at exit must find it there.
Closers& closers()
{
    static Closers* const instance = new Closers;
    return *instance;
}

void close(const PrintItem& item, const QString& why, bool claimed)
{
    if (!claimed && !item.slot->claim()) return;  // told already
    // The caller hears within kTellWithin, whatever the spooler does: a cancel still unanswered by then
    // counts as unanswered, and is waited for (bounded by the spooler's own time-outs) before it is retried.
    auto first = std::async(std::launch::async, [&item] { return item.slot->settle(); });
    systemif::print::PrintJobSlot::Report report =
        first.wait_for(kTellWithin) == std::future_status::ready ? first.get() : item.slot->unanswered();
    report.reason = why + QStringLiteral(": ") + report.reason;
    tellOutcome(item, report);
    if (first.valid()) first.wait();
    while (item.slot->cancelPending()) {
        std::this_thread::sleep_for(kRetryInterval);
        report = item.slot->settle();
        if (!item.slot->cancelPending())
            dispatch_log::message(__LINE__, QStringLiteral("print job [%1], spooler job [%2]: the spooler answers "
                                                           "again: %3")
                                                .arg(item.number)
                                                .arg(report.jobId)
                                                .arg(report.reason));
    }
}

void start(const QList<PrintItem>& items, const QString& why, bool claimed)
{
    if (items.isEmpty()) return;
    Closers& state = closers();
    {
        std::lock_guard<std::mutex> lock(state.mutex);
        ++state.running;
    }
    std::thread([items, why, claimed, &state] {
        for (const PrintItem& item : items) close(item, why, claimed);
        std::lock_guard<std::mutex> lock(state.mutex);
        --state.running;
        state.idle.notify_all();
    }).detach();
}

}  // namespace

void giveUp(const QList<PrintItem>& items, const QString& why)
{
    start(items, why, false);
}

void giveUpClaimed(const QList<PrintItem>& items, const QString& why)
{
    start(items, why, true);
}

bool waitUntilIdle(std::chrono::milliseconds timeout)
{
    Closers& state = closers();
    std::unique_lock<std::mutex> lock(state.mutex);
    return state.idle.wait_for(lock, timeout, [&] { return state.running == 0; });
}

}  // namespace job_closer
}  // namespace service_business
