#include "print_job.h"

#include "cli.h"

#include "service_business/print_manager.h"
#include "service_business/printer.h"
#include "systemif/print.h"
#include "utility_business/log.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <memory>
#include <mutex>

namespace sbtool {
namespace {

using namespace std::chrono;
using service_business::PrintManager;
using service_business::Printer;
using systemif::print::PRINTER_INFO_2W;
using systemif::print::PrintServics;
using utility_business::PrinterInfo;
namespace utility_enum = utility_business::utility_enum;

// The print watchdog ends a job after ten seconds and looks once a second; an outcome that has not come
// long after that never will.
constexpr seconds kJobLimit{10};
constexpr seconds kGiveUp{30};
constexpr seconds kProgressEvery{2};

// What became of the job. Print dispatch tells only the outcome; that the worker has taken the job and
// hands it to the spooler shows in the service's log records.
class JobProgress : public utility_business::log::Sink {
public:
    struct State {
        bool sent = false;
        bool finished = false;
        bool printed = false;
        steady_clock::time_point sentAt;
    };

    void write(const utility_business::log::Record& record) override
    {
        if (record.unit != "src/printer/printer" || record.type != "function" ||
            record.text.find("Printer::printDocBySysPrinter") == std::string::npos)
            return;
        std::lock_guard<std::mutex> lock(m_mutex);
        m_state.sent = true;
        m_state.sentAt = steady_clock::now();
        m_changed.notify_all();
    }

    void finish(bool printed)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_state.finished = true;
        m_state.printed = printed;
        m_changed.notify_all();
    }

    // The state once it differs from `seen`, or as it is when `until` comes.
    State waitForChange(const State& seen, steady_clock::time_point until)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_until(lock, until, [&] {
            return m_state.sent != seen.sent || m_state.finished != seen.finished;
        });
        return m_state;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state;
};

// Keeps the progress sink registered while the job is watched.
class SinkRegistration {
public:
    explicit SinkRegistration(std::shared_ptr<JobProgress> sink) : m_sink(std::move(sink))
    {
        utility_business::log::addSink(m_sink);
    }
    ~SinkRegistration() { utility_business::log::removeSink(m_sink); }
    SinkRegistration(const SinkRegistration&) = delete;
    SinkRegistration& operator=(const SinkRegistration&) = delete;

private:
    std::shared_ptr<JobProgress> m_sink;
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

int printReceipt(const QString& printerName, const QByteArray& receipt)
{
    PrinterInfo printer;
    QString error;
    if (!findPrinter(printerName, &printer, &error))
        return fail(error);

    auto progress = std::make_shared<JobProgress>();
    SinkRegistration registration(progress);
    const steady_clock::time_point queuedAt = steady_clock::now();
    PrintManager::printOrder(printer, receipt, [progress](bool printed) { progress->finish(printed); });
    say(printerName, QStringLiteral("queued"));

    JobProgress::State shown;
    steady_clock::time_point nextProgress = queuedAt + kProgressEvery;
    for (;;) {
        const JobProgress::State now = progress->waitForChange(shown, std::min(nextProgress, queuedAt + kGiveUp));
        if (now.sent && !shown.sent) {
            say(printerName, QStringLiteral("sent"));
            nextProgress = now.sentAt + kProgressEvery;
        }
        if (now.finished) {
            if (now.printed) {
                say(printerName, QStringLiteral("printed"));
                return ExitOk;
            }
            if (now.sent && steady_clock::now() - now.sentAt >= kJobLimit)
                return fail(QStringLiteral("%1: failed after the 10-second limit").arg(printerName));
            return fail(QStringLiteral("%1: failed: CUPS did not print the job").arg(printerName));
        }
        const steady_clock::time_point at = steady_clock::now();
        if (at >= queuedAt + kGiveUp)
            return fail(QStringLiteral("%1: no outcome after %2 s").arg(printerName).arg(kGiveUp.count()));
        if (at >= nextProgress) {
            const long long waited = duration_cast<seconds>(at - (now.sent ? now.sentAt : queuedAt)).count();
            const QLatin1String state(now.sent ? "sent" : "queued");
            say(printerName, QStringLiteral("%1, waiting %2 s").arg(state).arg(waited));
            nextProgress += kProgressEvery;
        }
        shown = now;
    }
}

}  // namespace sbtool
