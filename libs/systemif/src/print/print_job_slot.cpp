#include "systemif/print.h"
#include "systemif/print_backend.h"

namespace systemif {
namespace print {

namespace {
thread_local PrintJobSlot* t_current = nullptr;

PrintJobSlot::Report reportOf(JobOutcome outcome, int jobId, const char* reason)
{
    PrintJobSlot::Report report;
    report.outcome = outcome;
    report.jobId = jobId;
    report.reason = QString::fromLatin1(reason);
    return report;
}
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

void PrintJobSlot::setHandedOver(std::function<void(int)> handedOver)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_handedOver = std::move(handedOver);
}

bool PrintJobSlot::publish(Spooler* spooler, const QString& printer, int jobId)
{
    std::function<void(int)> handedOver;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_spooler = spooler;
        m_printer = printer;
        m_report.jobId = jobId;
        m_stage = Stage::Held;
        if (m_claimed) return false;
        handedOver = m_handedOver;
    }
    if (handedOver) handedOver(jobId);
    return true;
}

bool PrintJobSlot::advance(Stage stage)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_claimed) return false;
    m_stage = stage;
    return true;
}

bool PrintJobSlot::claimReport(const Report& report)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_claimed || m_reported) return false;
    m_reported = true;
    m_report = report;
    return true;
}

bool PrintJobSlot::claimed() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_claimed;
}

bool PrintJobSlot::begunWriting() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_stage == Stage::Writing;
}

bool PrintJobSlot::claim()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_reported || m_claimed) return false;
    m_claimed = true;
    return true;
}

PrintJobSlot::Report PrintJobSlot::settle()
{
    Spooler* spooler = nullptr;
    QString printer;
    int jobId = 0;
    Stage stage = Stage::Idle;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        spooler = m_spooler;
        printer = m_printer;
        jobId = m_report.jobId;
        stage = m_stage;
    }
    Report report;
    bool pending = false;
    if (stage == Stage::Writing) {
        report = reportOf(JobOutcome::Unconfirmed, jobId, "given up while its bytes were being written to the printer");
    } else if (!spooler) {
        report = reportOf(JobOutcome::Failed, jobId, "given up before it reached the spooler");
    } else {
        // Outside the lock: the request may take a while, and the print path must still find the slot claimed.
        switch (spooler->cancel(printer, jobId)) {
        case SpoolerCancel::Cancelled:
            report = reportOf(JobOutcome::Failed, jobId, "cancelled at the spooler before it printed");
            break;
        case SpoolerCancel::CancelledWhilePrinting:
            report = reportOf(JobOutcome::Unconfirmed, jobId,
                              "cancelled at the spooler while it was being sent to the printer");
            break;
        case SpoolerCancel::AlreadyCompleted:
            report = reportOf(JobOutcome::Printed, jobId, "the spooler had completed it");
            break;
        case SpoolerCancel::Failed:
            pending = true;
            report = unanswered();
            break;
        }
    }
    std::lock_guard<std::mutex> lock(m_mutex);
    m_cancelPending = pending;
    m_report = report;
    return report;
}

PrintJobSlot::Report PrintJobSlot::unanswered() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stage == Stage::Writing)
        return reportOf(JobOutcome::Unconfirmed, m_report.jobId, "given up while its bytes were being written to the printer");
    // A job still held at the spooler (or never there) cannot print, whenever the spooler answers again.
    if (m_stage != Stage::Released)
        return reportOf(JobOutcome::Failed, m_report.jobId, "held at the spooler, which does not answer");
    return reportOf(JobOutcome::Unconfirmed, m_report.jobId, "the spooler does not answer: it may still print the job");
}

bool PrintJobSlot::cancelPending() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_cancelPending;
}

PrintJobSlot::Report PrintJobSlot::report() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_report;
}

}  // namespace print
}  // namespace systemif
