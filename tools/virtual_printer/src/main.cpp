// sb-virtual-printer: a receipt printer on 127.0.0.1 that saves each job it receives (see
// virtual_printer.h).
//
//   sb-virtual-printer --port N --out DIR [--hang] [--refuse] [--idle-ms N] [--preview [--preview-width 58|80]]
//
// It prints the port it listens on as the first line of stdout (useful with --port 0), then one line per
// saved job: "job <number> <path> <bytes>". With --preview it also draws each job as the printed paper
// beside it (job-0001.bin -> job-0001.png, on 58 mm paper unless --preview-width says 80) and says
// "preview <number> <path>", or on stderr why it could not. While it runs, SIGUSR1 toggles the hang and SIGUSR2 the
// refusal; lines on stdin do the same by name: "hang", "resume", "refuse", "accept", and "quit" ends it,
// as do SIGINT and SIGTERM. Each change, once in effect, is confirmed on stdout by "hang on", "hang off",
// "refuse on" or "refuse off".

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

const char kUsage[] = "usage: sb-virtual-printer --port N --out DIR [--hang] [--refuse] [--idle-ms N]\n"
                      "                          [--preview [--preview-width 58|80]]\n";

int fail(const std::string& message)
{
    std::fprintf(stderr, "sb-virtual-printer: %s\n", message.c_str());
    return 2;
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

void setHang(virtual_printer::VirtualPrinter& printer, bool hang)
{
    printer.setHang(hang);
    std::printf("hang %s\n", hang ? "on" : "off");
    std::fflush(stdout);
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
    if (line == "hang") setHang(printer, true);
    else if (line == "resume") setHang(printer, false);
    else if (line == "refuse") setRefuse(printer, true);
    else if (line == "accept") setRefuse(printer, false);
    else if (line == "quit") return false;
    else if (!line.empty()) std::fprintf(stderr, "sb-virtual-printer: unknown command \"%s\"\n", line.c_str());
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
        int ms = 0;
        if (arg == "--port" && hasValue) {
            if (!parseNumber(argv[++i], 0, 65535, &options.port)) return fail("bad port: " + std::string(argv[i]));
            havePort = true;
        } else if (arg == "--out" && hasValue) {
            options.outDir = argv[++i];
        } else if (arg == "--idle-ms" && hasValue) {
            if (!parseNumber(argv[++i], 1, 3600000, &ms)) return fail("bad idle gap: " + std::string(argv[i]));
            options.idleGap = std::chrono::milliseconds(ms);
        } else if (arg == "--preview") {
            preview = true;
        } else if (arg == "--preview-width" && hasValue) {
            if (!receipt_preview::paperFromName(QString::fromLocal8Bit(argv[++i]), &previewOptions.paper))
                return fail("bad preview width: " + std::string(argv[i]));
        } else if (arg == "--hang") {
            options.hang = true;
        } else if (arg == "--refuse") {
            options.refuse = true;
        } else if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        } else {
            std::fputs(kUsage, stderr);
            return fail("unexpected argument: " + arg);
        }
    }
    if (!havePort || options.outDir.empty()) {
        std::fputs(kUsage, stderr);
        return fail("--port and --out are required");
    }

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
