#include "print_job.h"

#include "cli.h"

#include "service_business/print_manager.h"
#include "service_business/printer.h"
#include "systemif/print.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>

namespace sbtool {
namespace {

using namespace std::chrono;
using service_business::PrintJobWatch;
using service_business::PrintManager;
using service_business::PrintResult;
using systemif::print::JobOutcome;
using service_business::Printer;
using systemif::print::PRINTER_INFO_2W;
using systemif::print::PrintServics;
using utility_business::PrinterInfo;
namespace utility_enum = utility_business::utility_enum;

// The print watchdog gives a job up after ten seconds and looks once a second, and a given-up job's
// outcome follows within a second; an outcome that has not come long after that never will.
constexpr seconds kGiveUp{30};
constexpr seconds kProgressEvery{2};

// A job's progress, as print dispatch tells it.
class JobProgress {
public:
    struct State {
        int spoolerJob = 0;  // set once the job is at CUPS
        bool finished = false;
        PrintResult result;
        steady_clock::time_point sentAt;
    };

    PrintJobWatch watch(const std::shared_ptr<JobProgress>& self)
    {
        PrintJobWatch watch;
        watch.handedOver = [self](int jobId) {
            std::lock_guard<std::mutex> lock(self->m_mutex);
            self->m_state.spoolerJob = jobId;
            self->m_state.sentAt = steady_clock::now();
            self->m_changed.notify_all();
        };
        watch.done = [self](const PrintResult& result) {
            std::lock_guard<std::mutex> lock(self->m_mutex);
            self->m_state.finished = true;
            self->m_state.result = result;
            self->m_changed.notify_all();
        };
        return watch;
    }

    // The state once it differs from `seen`, or as it is when `until` comes or a signal arrives.
    State waitForChange(const State& seen, steady_clock::time_point until)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_until(lock, until, [&] {
            return m_state.spoolerJob != seen.spoolerJob || m_state.finished != seen.finished || g_stopSignal != 0;
        });
        return m_state;
    }

    static volatile std::sig_atomic_t g_stopSignal;

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state;
};

volatile std::sig_atomic_t JobProgress::g_stopSignal = 0;

// Ctrl-C and SIGTERM cancel the job rather than end the tool: a job left at CUPS would print later. The
// handler only notes the signal; the waiting loop looks at it every kSignalLook.
constexpr milliseconds kSignalLook{100};

class StopSignals {
public:
    StopSignals()
    {
        struct sigaction action {};
        action.sa_handler = [](int signal) { JobProgress::g_stopSignal = signal; };
        sigemptyset(&action.sa_mask);
        sigaction(SIGINT, &action, &m_previousInt);
        sigaction(SIGTERM, &action, &m_previousTerm);
    }
    ~StopSignals()
    {
        sigaction(SIGINT, &m_previousInt, nullptr);
        sigaction(SIGTERM, &m_previousTerm, nullptr);
    }
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

private:
    struct sigaction m_previousInt {};
    struct sigaction m_previousTerm {};
};

void say(const QString& printer, const QString& state)
{
    std::printf("%s: %s\n", printer.toUtf8().constData(), state.toUtf8().constData());
    std::fflush(stdout);
}

// The queue's record as the client's printer registry makes it: refreshed from CUPS, connection tested.
// Sets error to the one line to show when the job cannot be queued.
bool findPrinter(const QString& name, PrinterInfo* info, QString* error)
{
    if (!cupsAnswers(error))
        return false;
    // Print dispatch keeps one worker per printer id; this process prints to one printer only.
    info->id = 0;
    info->name = name;
    if (!Printer::systemPrinterInfo(*info)) {
        *error = QStringLiteral("no printer \"%1\" in CUPS (see \"sbtool printers\")").arg(name);
        return false;
    }
    if (info->type != utility_enum::PRINTER_SYSTEM_LOCAL && info->type != utility_enum::PRINTER_SYSTEM_NETWORK) {
        *error = QStringLiteral("printer \"%1\" is on port \"%2\", which the client cannot print to")
                     .arg(name, info->portName);
        return false;
    }
    info->connected = Printer::isConnected(*info);
    if (!info->connected) {
        const QString why = info->type == utility_enum::PRINTER_SYSTEM_NETWORK
                                ? QStringLiteral("%1 does not answer").arg(info->hostAddress)
                                : QStringLiteral("its queue is stopped or rejects jobs, or its device is unplugged");
        *error = QStringLiteral("printer \"%1\" is not connected: %2").arg(name, why);
        return false;
    }
    return true;
}

}  // namespace

bool cupsAnswers(QString* error)
{
    int count = 0;
    PRINTER_INFO_2W* records = nullptr;
    const bool answered = PrintServics::printerInfo2List(count, records);
    PrintServics::freePrinterInfo2List(records);
    if (!answered)
        *error = QStringLiteral("cannot reach the CUPS scheduler (is cupsd running?)");
    return answered;
}

QString sentText(int spoolerJob)
{
    return QStringLiteral("sent as CUPS job %1").arg(spoolerJob);
}

// The line of a job that did not print, by what may still come of it.
int failJob(const QString& printerName, const PrintResult& result)
{
    if (result.outcome == JobOutcome::Unconfirmed)
        return fail(QStringLiteral("%1: sent to the printer but not confirmed: %2").arg(printerName, result.reason));
    return fail(QStringLiteral("%1: failed: %2").arg(printerName, result.reason));
}

int printReceipt(const QString& printerName, const QByteArray& receipt)
{
    PrinterInfo printer;
    QString error;
    if (!findPrinter(printerName, &printer, &error))
        return fail(error);

    auto progress = std::make_shared<JobProgress>();
    StopSignals stopSignals;
    const steady_clock::time_point queuedAt = steady_clock::now();
    const quint64 job = PrintManager::submit(printer, receipt, progress->watch(progress));
    say(printerName, QStringLiteral("queued"));

    JobProgress::State shown;
    bool cancelled = false;
    steady_clock::time_point nextProgress = queuedAt + kProgressEvery;
    steady_clock::time_point giveUpAt = queuedAt + kGiveUp;
    for (;;) {
        const JobProgress::State now =
            progress->waitForChange(shown, std::min({nextProgress, giveUpAt, steady_clock::now() + kSignalLook}));
        if (now.spoolerJob != shown.spoolerJob) {
            say(printerName, sentText(now.spoolerJob));
            nextProgress = now.sentAt + kProgressEvery;
        }
        if (now.finished) {
            if (cancelled && now.result.outcome == JobOutcome::Failed)
                return fail(QStringLiteral("%1: cancelled; CUPS job %2 will not print")
                                .arg(printerName)
                                .arg(now.result.spoolerJobId));
            if (now.result.outcome == JobOutcome::Printed) {
                say(printerName, QStringLiteral("printed"));
                return ExitOk;
            }
            return failJob(printerName, now.result);
        }
        if (JobProgress::g_stopSignal != 0) {
            JobProgress::g_stopSignal = 0;
            cancelled = true;
            PrintManager::cancel(job);
            giveUpAt = steady_clock::now() + kGiveUp;
            continue;
        }
        const steady_clock::time_point at = steady_clock::now();
        if (at >= giveUpAt)
            return fail(QStringLiteral("%1: no outcome after %2 s").arg(printerName).arg(kGiveUp.count()));
        if (at >= nextProgress) {
            const bool sent = now.spoolerJob != 0;
            const long long waited = duration_cast<seconds>(at - (sent ? now.sentAt : queuedAt)).count();
            const QString state = sent ? sentText(now.spoolerJob) : QStringLiteral("queued");
            say(printerName, QStringLiteral("%1, waiting %2 s").arg(state).arg(waited));
            nextProgress += kProgressEvery;
        }
        shown = now;
    }
}

}  // namespace sbtool
