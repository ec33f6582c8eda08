#include "systemif/print.h"
#include "systemif/print_backend.h"

namespace systemif {
namespace print {

namespace {
thread_local PrintJobSlot* t_current = nullptr;
}  // namespace

PrintJobSlot::Binding::Binding(PrintJobSlot& slot) : m_previous(t_current)
{
    t_current = &slot;
}

PrintJobSlot::Binding::~Binding()
{
    t_current = m_previous;
}

PrintJobSlot* PrintJobSlot::current()
{
    return t_current;
}

void PrintJobSlot::clear()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_state = State::Idle;
    m_spooler = nullptr;
    m_printer.clear();
    m_jobId = 0;
}

void PrintJobSlot::begin()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_state = State::Submitting;
    m_spooler = nullptr;
    m_printer.clear();
    m_jobId = 0;
}

bool PrintJobSlot::publish(Spooler* spooler, const QString& printer, int jobId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state == State::Claimed) return false;
    m_state = State::Waiting;
    m_spooler = spooler;
    m_printer = printer;
    m_jobId = jobId;
    return true;
}

bool PrintJobSlot::claimReport()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_state == State::Claimed) return false;
    m_state = State::Reported;
    return true;
}

bool PrintJobSlot::claimed()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_state == State::Claimed;
}

PrintJobSlot::Outcome PrintJobSlot::cancel()
{
    Spooler* spooler = nullptr;
    QString printer;
    int jobId = 0;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        if (m_state == State::Reported) return Outcome::AlreadyReported;
        const bool waiting = m_state == State::Waiting;
        m_state = State::Claimed;
        if (!waiting) return Outcome::NoJob;
        spooler = m_spooler;
        printer = m_printer;
        jobId = m_jobId;
    }
    // Outside the lock: the worker, if it still runs, must be able to find the slot claimed meanwhile.
    switch (spooler->cancel(printer, jobId)) {
    case SpoolerCancel::Cancelled:
        return Outcome::Cancelled;
    case SpoolerCancel::AlreadyCompleted:
        return Outcome::Completed;
    case SpoolerCancel::Failed:
        break;
    }
    return Outcome::CancelFailed;
}

}  // namespace print
}  // namespace systemif
