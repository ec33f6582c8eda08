// The CUPS backend for receipt printers on the network: device URI escpos://HOST[:PORT] (port 9100 unless
// given; an IPv6 address in brackets). CUPS runs it once per job with the job's bytes on standard input
// (or in the file named by the sixth argument) and the URI in DEVICE_URI.
//
// It sends the job over TCP as the socket backend does, then asks the printer for its real-time status
// (DLE EOT 1, 2 and 4) and ends the job on the answer. A printer handles those requests when their bytes
// arrive, after every byte before them, so an answer says that it has taken the whole job, and whether it
// ran out of paper or hit an error meanwhile; the backend need not wait for the printer to close the
// connection, which some receipt printers never do. A printer that does not answer but closes the
// connection has read the whole job too. One that does neither is not confirmed.
//
// Exit codes, and the job's last message (job-printer-state-message, a warning that stays with the job)
// that says why:
//   0  printed: the printer answered with no error, or closed the connection after the job
//   5  cancelled: the printer reports paper out, a cover open or an error after the job (it may be partly
//      printed), or it neither answered nor closed the connection within kConfirmWait
// While the printer refuses connections or cannot be reached the backend keeps trying, as the socket
// backend does, until the job is cancelled. On SIGTERM (a cancel) it resets the connection, so that what
// the system has not sent yet is dropped, and ends.

#include "systemif/escpos_status.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kBackendOk = 0;      // CUPS_BACKEND_OK
constexpr int kBackendFailed = 1;  // CUPS_BACKEND_FAILED
constexpr int kBackendCancel = 5;  // CUPS_BACKEND_CANCEL
constexpr const char* kDefaultPort = "9100";
constexpr std::chrono::seconds kConfirmWait(4);  // well inside the client's ten-second watchdog
constexpr std::chrono::seconds kRetryConnect(1);
constexpr size_t kMaxJob = 64u << 20;  // far above any receipt

using systemif::escpos::Condition;
using systemif::escpos::kStatusAnswers;
using systemif::escpos::kStatusRequest;

volatile std::sig_atomic_t g_cancelled = 0;

void info(const std::string& message)
{
    std::fprintf(stderr, "INFO: %s\n", message.c_str());
    std::fflush(stderr);
}

// A job's last message at warning level stays with the job after it ends (the scheduler clears mere
// information), so that the client can read why it did not print.
void warning(const std::string& message)
{
    std::fprintf(stderr, "WARNING: %s\n", message.c_str());
    std::fflush(stderr);
}

struct Target {
    std::string host;
    std::string port = kDefaultPort;
};

// escpos://HOST[:PORT][/...], HOST possibly "[v6]".
bool parseUri(const std::string& uri, Target* target)
{
    const std::string scheme = "escpos://";
    if (uri.compare(0, scheme.size(), scheme) != 0) return false;
    std::string rest = uri.substr(scheme.size());
    rest = rest.substr(0, rest.find_first_of("/?"));
    if (!rest.empty() && rest[0] == '[') {
        const size_t close = rest.find(']');
        if (close == std::string::npos) return false;
        target->host = rest.substr(1, close - 1);
        rest = rest.substr(close + 1);
        if (!rest.empty() && rest[0] == ':') target->port = rest.substr(1);
    } else {
        const size_t colon = rest.find(':');
        target->host = rest.substr(0, colon);
        if (colon != std::string::npos) target->port = rest.substr(colon + 1);
    }
    return !target->host.empty() && !target->port.empty();
}

bool readJob(int fd, std::vector<unsigned char>* job)
{
    unsigned char buffer[65536];
    for (;;) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got < 0 && errno == EINTR && !g_cancelled) continue;
        if (got < 0) return false;
        if (got == 0) return true;
        if (job->size() + static_cast<size_t>(got) > kMaxJob) return false;
        job->insert(job->end(), buffer, buffer + got);
    }
}

// A connected socket, or -1 once the job is cancelled.
int connectToPrinter(const Target& target)
{
    bool announced = false;
    while (!g_cancelled) {
        addrinfo hints{};
        hints.ai_socktype = SOCK_STREAM;
        addrinfo* addresses = nullptr;
        if (::getaddrinfo(target.host.c_str(), target.port.c_str(), &hints, &addresses) == 0) {
            for (addrinfo* address = addresses; address; address = address->ai_next) {
                const int fd = ::socket(address->ai_family, address->ai_socktype | SOCK_CLOEXEC, 0);
                if (fd < 0) continue;
                if (::connect(fd, address->ai_addr, address->ai_addrlen) == 0) {
                    ::freeaddrinfo(addresses);
                    std::fputs("STATE: -connecting-to-device\n", stderr);
                    return fd;
                }
                ::close(fd);
            }
            ::freeaddrinfo(addresses);
        }
        if (!announced) {
            std::fputs("STATE: +connecting-to-device\n", stderr);
            info("nothing sent yet: waiting for the printer at " + target.host + ":" + target.port);
            announced = true;
        }
        std::this_thread::sleep_for(kRetryConnect);
    }
    return -1;
}

bool sendAll(int fd, const unsigned char* data, size_t size)
{
    while (size > 0 && !g_cancelled) {
        const ssize_t sent = ::send(fd, data, size, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR) continue;
        if (sent <= 0) return false;
        data += sent;
        size -= static_cast<size_t>(sent);
    }
    return size == 0;
}

// Sends the status request and reads the answers, or the printer's close, within kConfirmWait.
int confirm(int fd, size_t jobSize)
{
    if (!sendAll(fd, kStatusRequest, sizeof kStatusRequest)) {
        warning("sent " + std::to_string(jobSize) + " bytes; the connection broke before the printer confirmed them");
        return kBackendCancel;
    }
    ::shutdown(fd, SHUT_WR);  // a printer that does not answer may still say it is done by closing
    unsigned char answers[kStatusAnswers];
    int count = 0;
    Clock::time_point deadline = Clock::now() + kConfirmWait;
    while (count < kStatusAnswers && !g_cancelled) {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        if (left <= 0) break;
        pollfd ready{fd, POLLIN, 0};
        if (::poll(&ready, 1, static_cast<int>(left)) <= 0) continue;
        const ssize_t got = ::recv(fd, answers + count, static_cast<size_t>(kStatusAnswers - count), 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) {
            if (count > 0) break;
            info("printed: the printer took all " + std::to_string(jobSize) + " bytes and closed the connection");
            return kBackendOk;
        }
        count += static_cast<int>(got);
        // The first answer confirms the job; the rest come at once from a printer that gives them.
        deadline = std::min(deadline, Clock::now() + std::chrono::milliseconds(500));
    }
    if (count == 0) {
        warning("sent " + std::to_string(jobSize) +
                " bytes, not confirmed: the printer neither answered nor closed the connection");
        return kBackendCancel;
    }
    const Condition condition = systemif::escpos::conditionOf(answers, count);
    if (condition != Condition::Ready && condition != Condition::PaperNearEnd) {
        warning(std::string("the printer reports it is ") + systemif::escpos::conditionText(condition) +
                " after the job: it may be partly printed");
        return kBackendCancel;
    }
    info("printed: the printer confirmed all " + std::to_string(jobSize) + " bytes");
    return kBackendOk;
}

// Drops whatever the system still holds for the printer, rather than letting it trickle out after a cancel.
void resetAndClose(int fd)
{
    const linger abortive{1, 0};
    ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &abortive, sizeof abortive);
    ::close(fd);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc == 1) {
        // Device discovery: the scheme, with nothing found to list.
        std::puts("network escpos \"Unknown\" \"Receipt printer (ESC/POS over TCP, confirmed)\"");
        return kBackendOk;
    }
    if (argc < 6 || argc > 7) {
        std::fprintf(stderr, "Usage: %s job-id user title copies options [file]\n", argv[0]);
        return kBackendFailed;
    }
    struct sigaction action {};
    action.sa_handler = [](int) { g_cancelled = 1; };
    sigemptyset(&action.sa_mask);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGPIPE, SIG_IGN);

    const char* uri = std::getenv("DEVICE_URI");
    Target target;
    if (!parseUri(uri ? uri : argv[0], &target)) {
        std::fprintf(stderr, "ERROR: not an escpos://HOST[:PORT] device URI: %s\n", uri ? uri : argv[0]);
        return kBackendFailed;
    }
    const int input = argc == 7 ? ::open(argv[6], O_RDONLY | O_CLOEXEC) : 0;
    std::vector<unsigned char> job;
    if (input < 0 || !readJob(input, &job)) {
        std::fprintf(stderr, "ERROR: cannot read the job: %s\n", std::strerror(errno));
        return kBackendFailed;
    }
    const int fd = connectToPrinter(target);
    if (fd < 0) return kBackendCancel;
    info("sending " + std::to_string(job.size()) + " bytes to " + target.host + ":" + target.port);
    int result = kBackendCancel;
    if (!sendAll(fd, job.data(), job.size()))
        warning(g_cancelled ? "cancelled while the job was being sent"
                            : "the connection broke while the job was being sent");
    else
        result = confirm(fd, job.size());
    if (g_cancelled)
        resetAndClose(fd);
    else
        ::close(fd);
    return result;
}
