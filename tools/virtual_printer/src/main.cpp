// sb-virtual-printer: a receipt printer on 127.0.0.1 that saves each job it receives (see
// virtual_printer.h); kUsage below says how it is run and driven.

#include "virtual_printer/virtual_printer.h"

#include "receipt_preview/receipt_preview.h"

#include <QFile>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

const char kUsage[] =
    "usage: sb-virtual-printer --port N --out DIR [options]\n"
    "\n"
    "A receipt printer on 127.0.0.1:N (0: a free port) that saves each job it receives as\n"
    "DIR/job-0001.bin, ... It prints the port as the first line of stdout, then one line per job:\n"
    "\"job NUMBER PATH BYTES\" (and \"preview NUMBER PATH\" with --preview).\n"
    "\n"
    "  --port N             the TCP port to listen on\n"
    "  --out DIR            where jobs are saved (made when missing)\n"
    "  --idle-ms MS         a job also ends after this long without data (default 1000)\n"
    "  --preview            draw each job beside it as the printed paper (job-0001.png)\n"
    "  --preview-width W    58 or 80 mm paper for the pictures (default 58)\n"
    "faults, from the start:\n"
    "  --hang               accept connections and never read them nor close them (jammed)\n"
    "  --resume-after S     with --hang: resume by itself after S seconds, printing what was sent\n"
    "  --stall BYTES        read the first BYTES of each job, then stop reading (a jam in mid-job)\n"
    "  --close-late S       close each connection S seconds after its last byte\n"
    "  --refuse             refuse connections (switched off)\n"
    "  --one-at-a-time      serve one connection at a time; the next waits until it ends\n"
    "  --status STATE       what it answers to status requests (DLE EOT): ready (default),\n"
    "                       paper-near-end, paper-out, cover-open, offline, error, or silent\n"
    "                       (no answer, as a printer without a way back)\n"
    "\n"
    "While it runs, lines on stdin change the faults; each change is confirmed on stdout:\n"
    "  hang [S]             as --hang (resuming after S seconds when given)    \"hang on\"\n"
    "  resume               read again, hung and stalled jobs included          \"hang off\"\n"
    "  stall BYTES|off      as --stall, for connections from now on           \"stall BYTES\"/\"stall off\"\n"
    "  close-late S|off     as --close-late                                    \"close-late S\"/\"close-late off\"\n"
    "  refuse / accept      refuse connections, or listen again                 \"refuse on\"/\"refuse off\"\n"
    "  status STATE         as --status                                         \"status STATE\"\n"
    "  quit                 end\n"
    "signals:\n"
    "  SIGUSR1              hang, or resume when hanging\n"
    "  SIGUSR2              refuse, or accept when refusing\n"
    "  SIGINT, SIGTERM      end\n"
    "\n"
    "exit codes: 0 ended by quit or a signal, 1 it could not run (the port, the directory),\n"
    "            2 the command line is wrong\n";

const int kExitFailure = 1;
const int kExitUsage = 2;

int fail(const std::string& message, int code = kExitFailure)
{
    std::fprintf(stderr, "sb-virtual-printer: %s\n", message.c_str());
    return code;
}

int usageError(const std::string& message)
{
    return fail(message + " (see \"sb-virtual-printer --help\")", kExitUsage);
}

bool parseNumber(const char* text, int low, int high, int* value)
{
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text, &end, 10);
    if (errno || !end || *end || end == text || number < low || number > high) return false;
    *value = static_cast<int>(number);
    return true;
}

// Draws the saved job beside it. A job holds what a printer receives: GB18030 text, which the preview's
// automatic reading takes as such.
void savePreview(const virtual_printer::SavedJob& job, const receipt_preview::Options& options)
{
    QFile file(QString::fromStdString(job.path));
    QString error;
    if (!file.open(QIODevice::ReadOnly)) {
        error = file.errorString();
    } else {
        QString path = file.fileName();
        path.replace(path.lastIndexOf(QLatin1String(".bin")), 4, QStringLiteral(".png"));
        if (receipt_preview::renderToPng(file.readAll(), options, path, &error)) {
            std::printf("preview %d %s\n", job.number, path.toUtf8().constData());
            return;
        }
    }
    std::fprintf(stderr, "sb-virtual-printer: no preview of job %d: %s\n", job.number, error.toUtf8().constData());
}

// Each saved job is reported here, and drawn when previews are asked for.
void onJobSaved(const virtual_printer::SavedJob& job, const receipt_preview::Options* preview)
{
    std::printf("job %d %s %lld\n", job.number, job.path.c_str(), job.size);
    if (preview) savePreview(job, *preview);
    std::fflush(stdout);
}

void confirm(const std::string& line)
{
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

void setHang(virtual_printer::VirtualPrinter& printer, bool hang, int resumeAfterSeconds = 0)
{
    printer.setHang(hang, std::chrono::seconds(resumeAfterSeconds));
    confirm(hang ? "hang on" : "hang off");
}

void setRefuse(virtual_printer::VirtualPrinter& printer, bool refuse)
{
    std::string error;
    if (!printer.setRefuse(refuse, &error)) std::fprintf(stderr, "sb-virtual-printer: %s\n", error.c_str());
    std::printf("refuse %s\n", printer.refusing() ? "on" : "off");
    std::fflush(stdout);
}

// Applies one stdin command; false for "quit".
bool command(virtual_printer::VirtualPrinter& printer, const std::string& line)
{
    const std::string::size_type space = line.find(' ');
    const std::string name = line.substr(0, space);
    const std::string value = space == std::string::npos ? std::string() : line.substr(space + 1);
    int number = 0;
    virtual_printer::Status status;
    const bool off = value == "off";
    if (name == "hang" && (value.empty() || parseNumber(value.c_str(), 1, 86400, &number))) {
        setHang(printer, true, number);
    } else if (line == "resume") {
        setHang(printer, false);
    } else if (name == "stall" && (off || parseNumber(value.c_str(), 0, 1 << 30, &number))) {
        printer.setStallAfter(off ? -1 : number);
        confirm("stall " + (off ? value : std::to_string(number)));
    } else if (name == "close-late" && (off || parseNumber(value.c_str(), 1, 86400, &number))) {
        printer.setCloseDelay(std::chrono::seconds(off ? 0 : number));
        confirm("close-late " + (off ? value : std::to_string(number)));
    } else if (name == "status" && virtual_printer::statusFromName(value, &status)) {
        printer.setStatus(status);
        confirm("status " + value);
    } else if (line == "refuse") {
        setRefuse(printer, true);
    } else if (line == "accept") {
        setRefuse(printer, false);
    } else if (line == "quit") {
        return false;
    } else if (!line.empty()) {
        std::fprintf(stderr, "sb-virtual-printer: unknown command \"%s\" (see \"sb-virtual-printer --help\")\n",
                     line.c_str());
    }
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    virtual_printer::Options options;
    bool havePort = false;
    bool preview = false;
    receipt_preview::Options previewOptions;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        int number = 0;
        if (arg == "--port" && hasValue) {
            if (!parseNumber(argv[++i], 0, 65535, &options.port)) return usageError("bad port: " + std::string(argv[i]));
            havePort = true;
        } else if (arg == "--out" && hasValue) {
            options.outDir = argv[++i];
        } else if (arg == "--idle-ms" && hasValue) {
            if (!parseNumber(argv[++i], 1, 3600000, &number)) return usageError("bad idle gap: " + std::string(argv[i]));
            options.idleGap = std::chrono::milliseconds(number);
        } else if (arg == "--preview") {
            preview = true;
        } else if (arg == "--preview-width" && hasValue) {
            if (!receipt_preview::paperFromName(QString::fromLocal8Bit(argv[++i]), &previewOptions.paper))
                return usageError("bad preview width: " + std::string(argv[i]));
        } else if (arg == "--hang") {
            options.hang = true;
        } else if (arg == "--resume-after" && hasValue) {
            if (!parseNumber(argv[++i], 1, 86400, &number)) return usageError("bad --resume-after: " + std::string(argv[i]));
            options.resumeAfter = std::chrono::seconds(number);
        } else if (arg == "--stall" && hasValue) {
            if (!parseNumber(argv[++i], 0, 1 << 30, &number)) return usageError("bad --stall: " + std::string(argv[i]));
            options.stallAfter = number;
        } else if (arg == "--close-late" && hasValue) {
            if (!parseNumber(argv[++i], 1, 86400, &number)) return usageError("bad --close-late: " + std::string(argv[i]));
            options.closeDelay = std::chrono::seconds(number);
        } else if (arg == "--refuse") {
            options.refuse = true;
        } else if (arg == "--one-at-a-time") {
            options.oneAtATime = true;
        } else if (arg == "--status" && hasValue) {
            if (!virtual_printer::statusFromName(argv[++i], &options.status))
                return usageError("bad --status: " + std::string(argv[i]));
        } else if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        } else {
            return usageError("unexpected argument: " + arg);
        }
    }
    if (!havePort || options.outDir.empty()) return usageError("--port and --out are required");

    // Signals are taken through a descriptor, so they must be blocked before the serving thread starts.
    sigset_t signals;
    sigemptyset(&signals);
    for (int signal : {SIGUSR1, SIGUSR2, SIGINT, SIGTERM}) sigaddset(&signals, signal);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const int signalFd = signalfd(-1, &signals, SFD_CLOEXEC);
    if (signalFd < 0) return fail(std::string("signalfd: ") + std::strerror(errno));

    virtual_printer::VirtualPrinter printer(options);
    printer.setJobHandler([previewOptions, preview](const virtual_printer::SavedJob& job) {
        onJobSaved(job, preview ? &previewOptions : nullptr);
    });
    std::string error;
    if (!printer.start(&error)) return fail(error);
    std::printf("%d\n", printer.port());
    std::fflush(stdout);

    std::string line;
    bool stdinOpen = true;
    for (bool running = true; running;) {
        pollfd fds[2] = {{signalFd, POLLIN, 0}, {STDIN_FILENO, static_cast<short>(stdinOpen ? POLLIN : 0), 0}};
        if (::poll(fds, 2, -1) < 0 && errno != EINTR) return fail(std::string("poll: ") + std::strerror(errno));
        if (fds[0].revents & POLLIN) {
            signalfd_siginfo info;
            if (::read(signalFd, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
                if (info.ssi_signo == SIGUSR1) setHang(printer, !printer.hanging());
                else if (info.ssi_signo == SIGUSR2) setRefuse(printer, !printer.refusing());
                else running = false;
            }
        }
        if (fds[1].revents & (POLLIN | POLLHUP)) {
            char buffer[256];
            const ssize_t got = ::read(STDIN_FILENO, buffer, sizeof buffer);
            if (got <= 0) {
                // Started in the background stdin is often /dev/null: it then stops being read, and the
                // printer serves on until a signal ends it.
                stdinOpen = false;
                continue;
            }
            for (ssize_t i = 0; i < got && running; ++i) {
                if (buffer[i] != '\n') {
                    line += buffer[i];
                    continue;
                }
                running = command(printer, line);
                line.clear();
            }
        }
    }
    printer.stop();
    ::close(signalFd);
    return 0;
}
