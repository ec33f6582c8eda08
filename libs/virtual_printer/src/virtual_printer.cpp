#include "virtual_printer/virtual_printer.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <list>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

namespace virtual_printer {

namespace {

class Fd {
public:
    explicit Fd(int fd = -1) : m_fd(fd) {}
    ~Fd() { reset(); }
    Fd(Fd&& other) noexcept : m_fd(other.release()) {}
    Fd& operator=(Fd&& other) noexcept
    {
        if (this != &other) reset(other.release());
        return *this;
    }
    int get() const { return m_fd; }
    int release()
    {
        const int fd = m_fd;
        m_fd = -1;
        return fd;
    }
    void reset(int fd = -1)
    {
        if (m_fd >= 0) ::close(m_fd);
        m_fd = fd;
    }

private:
    int m_fd;
};

std::string systemError(const std::string& what)
{
    return what + ": " + std::strerror(errno);
}

// The highest N of the job-NNNN.bin files in the directory, 0 when there is none.
int lastJobNumber(const fs::path& dir)
{
    int last = 0;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(dir, error)) {
        const std::string name = entry.path().filename().string();
        int number = 0;
        char tail[8] = {};
        if (std::sscanf(name.c_str(), "job-%d.%7s", &number, tail) == 2 && std::string(tail) == "bin")
            last = std::max(last, number);
    }
    return last;
}

bool writeAll(int fd, const char* data, size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) return false;
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

struct Connection {
    Fd socket;
    int statusRequest = 0;       // bytes of a DLE EOT n request seen so far (0 to 2)
    bool hung = false;           // accepted or caught by a hang, or stalled: not read
    long long readLimit = -1;    // bytes to read before it stalls; -1: all
    bool ended = false;          // the peer has sent its last byte; the connection closes at closeAt
    Clock::time_point closeAt;
    Fd file;                     // where the job's bytes go; open from the first byte on
    fs::path filePath;
    long long size = 0;          // bytes read, status requests included
    long long saved = 0;         // bytes of the job
    Clock::time_point lastData;
};

int msUntil(Clock::time_point when, Clock::time_point now)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(when - now).count();
    return static_cast<int>(std::max<long long>(0, left));
}

}  // namespace

class VirtualPrinter::Server {
public:
    explicit Server(const Options& options)
        : m_options(options),
          m_status(options.status),
          m_wantHang(options.hang),
          m_resumeAfter(options.resumeAfter),
          m_stallAfter(options.stallAfter),
          m_closeDelay(options.closeDelay),
          m_wantRefuse(options.refuse)
    {
    }
    ~Server() { stop(); }

    std::function<void(const SavedJob&)> handler;

    bool start(std::string* error)
    {
        std::error_code made;
        fs::create_directories(m_options.outDir, made);
        if (made || !fs::is_directory(m_options.outDir)) {
            if (error) *error = "cannot make the directory " + m_options.outDir;
            return false;
        }
        m_nextJob = lastJobNumber(m_options.outDir) + 1;
        m_wake = Fd(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
        if (m_wake.get() < 0) {
            if (error) *error = systemError("eventfd");
            return false;
        }
        std::string bindError;
        if (!listen(m_options.port, &bindError)) {
            if (error) *error = bindError;
            return false;
        }
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            if (m_wantRefuse) m_listen.reset();
            m_refusing = m_wantRefuse;
            m_hanging = m_wantHang;
            if (m_hanging && m_resumeAfter.count() > 0) m_resumeAt = Clock::now() + m_resumeAfter;
        }
        m_thread = std::thread([this] { serve(); });
        return true;
    }

    void stop()
    {
        if (!m_thread.joinable()) return;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_stopping = true;
        }
        wake();
        m_thread.join();
    }

    int port() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_port;
    }

    void setHang(bool hang, std::chrono::milliseconds resumeAfter)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wantHang = hang;
        m_resumeAfter = resumeAfter;
        m_resumeRequested = !hang;
        if (!m_thread.joinable()) return;
        wake();
        m_changed.wait(lock, [&] { return (m_hanging == hang && !m_resumeRequested) || m_stopping; });
    }

    void setStallAfter(long long bytes)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_stallAfter = bytes;
    }

    void setCloseDelay(std::chrono::milliseconds delay)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_closeDelay = delay;
    }

    void setStatus(Status status)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_status = status;
    }

    bool hanging() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_hanging;
    }

    bool setRefuse(bool refuse, std::string* error)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_wantRefuse = refuse;
        m_refuseError.clear();
        if (!m_thread.joinable()) return true;
        ++m_refuseRequests;
        const int request = m_refuseRequests;
        wake();
        m_changed.wait(lock, [&] { return m_refuseAnswered >= request || m_stopping; });
        if (error) *error = m_refuseError;
        return m_refuseError.empty();
    }

    bool refusing() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_refusing;
    }

    int jobCount() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_jobs;
    }

    int connectionCount() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_connections;
    }

    bool waitForJobs(int count, std::chrono::milliseconds timeout) const
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_jobs >= count; });
    }

    bool waitForConnections(int count, std::chrono::milliseconds timeout) const
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, timeout, [&] { return m_connections >= count; });
    }

private:
    void wake()
    {
        const uint64_t one = 1;
        while (::write(m_wake.get(), &one, sizeof one) < 0 && errno == EINTR) {
        }
    }

    void drainWakes()
    {
        uint64_t count;
        while (::read(m_wake.get(), &count, sizeof count) > 0) {
        }
    }

    // Binds 127.0.0.1:port; port 0 takes a free one, which m_port remembers.
    bool listen(int port, std::string* error)
    {
        Fd socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (socket.get() < 0) {
            *error = systemError("socket");
            return false;
        }
        const int on = 1;
        ::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) < 0) {
            *error = systemError("bind 127.0.0.1:" + std::to_string(port));
            return false;
        }
        if (::listen(socket.get(), 16) < 0) {
            *error = systemError("listen");
            return false;
        }
        socklen_t length = sizeof address;
        ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &length);
        std::lock_guard<std::mutex> lock(m_mutex);
        m_port = ntohs(address.sin_port);
        m_listen = std::move(socket);
        return true;
    }

    // Takes the requests of setHang and setRefuse; false when the printer stops.
    bool applyRequests()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (m_stopping) return false;
        if (m_hanging && m_resumeAt != Clock::time_point() && Clock::now() >= m_resumeAt) m_wantHang = false;
        if (m_wantHang != m_hanging || m_resumeRequested) {
            m_hanging = m_wantHang;
            m_resumeRequested = false;
            m_resumeAt = m_hanging && m_resumeAfter.count() > 0 ? Clock::now() + m_resumeAfter : Clock::time_point();
            // Caught by a hang, a connection is left unread; freed (stalled ones too), it is read again,
            // buffer and all.
            for (Connection& connection : m_open) {
                if (connection.ended) continue;
                connection.hung = m_hanging;
                if (!m_hanging) connection.readLimit = -1;
            }
        }
        if (m_refuseAnswered < m_refuseRequests) {
            if (m_wantRefuse && !m_refusing) {
                m_listen.reset();
                m_refusing = true;
            } else if (!m_wantRefuse && m_refusing) {
                const int port = m_port;
                lock.unlock();
                std::string error;
                const bool listening = listen(port, &error);
                lock.lock();
                m_refusing = !listening;
                m_refuseError = error;
            }
            m_refuseAnswered = m_refuseRequests;
        }
        m_changed.notify_all();
        return true;
    }

    void dropUnread(Connection& connection)
    {
        connection.socket.reset();
        discard(connection);
    }

    void discard(Connection& connection)
    {
        if (connection.file.get() >= 0) {
            connection.file.reset();
            std::error_code ignored;
            fs::remove(connection.filePath, ignored);
        }
    }

    // Accepts the waiting connections, at most `limit` of them (-1: all).
    void acceptAll(int limit)
    {
        for (int accepted = 0; limit < 0 || accepted < limit; ++accepted) {
            Fd socket(::accept4(m_listen.get(), nullptr, nullptr, SOCK_CLOEXEC | SOCK_NONBLOCK));
            if (socket.get() < 0) return;
            Connection connection;
            connection.socket = std::move(socket);
            std::lock_guard<std::mutex> lock(m_mutex);
            connection.hung = m_hanging;
            connection.readLimit = m_stallAfter;
            m_open.push_back(std::move(connection));
            ++m_connections;
            m_changed.notify_all();
        }
    }

    // Reads what is there; true while the connection stays open.
    bool receive(Connection& connection)
    {
        char buffer[65536];
        for (;;) {
            if (connection.readLimit >= 0 && connection.size >= connection.readLimit) {
                connection.hung = true;  // stalled in mid-job
                return true;
            }
            size_t want = sizeof buffer;
            if (connection.readLimit >= 0)
                want = static_cast<size_t>(std::min<long long>(want, connection.readLimit - connection.size));
            const ssize_t got = ::recv(connection.socket.get(), buffer, want, 0);
            if (got > 0) {
                const std::string kept = takeStatusRequests(connection, buffer, static_cast<size_t>(got));
                connection.lastData = Clock::now();
                connection.size += got;
                if (kept.empty()) continue;
                if (connection.file.get() < 0) {
                    connection.filePath = fs::path(m_options.outDir) / (".receiving-" + std::to_string(++m_received));
                    connection.file =
                        Fd(::open(connection.filePath.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
                }
                connection.saved += static_cast<long long>(kept.size());
                if (connection.file.get() < 0 || !writeAll(connection.file.get(), kept.data(), kept.size())) {
                    std::fprintf(stderr, "sb-virtual-printer: cannot save a job in %s: %s\n", m_options.outDir.c_str(),
                                 std::strerror(errno));
                    dropUnread(connection);
                    return false;
                }
                continue;
            }
            if (got < 0 && errno == EINTR) continue;
            if (got < 0 && (errno == EAGAIN || errno == EWOULDBLOCK)) return true;
            // End of data, or the peer reset: print what arrived, at once or after the close delay.
            std::chrono::milliseconds delay;
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                delay = m_closeDelay;
            }
            if (delay.count() <= 0 || got < 0) {
                finish(connection);
                return false;
            }
            connection.ended = true;
            connection.closeAt = Clock::now() + delay;
            return true;
        }
    }

    // Answers the status requests among the bytes and returns the others, the job's. A request cut in two
    // by the reads is held until its end arrives.
    std::string takeStatusRequests(Connection& connection, const char* data, size_t size)
    {
        static const char kRequest[] = {0x10, 0x04};
        std::string kept;
        for (size_t i = 0; i < size; ++i) {
            const char byte = data[i];
            if (connection.statusRequest < 2 && byte == kRequest[connection.statusRequest]) {
                ++connection.statusRequest;
                continue;
            }
            if (connection.statusRequest == 2 && byte >= 1 && byte <= 4) {
                connection.statusRequest = 0;
                answer(connection, byte);
                continue;
            }
            kept.append(kRequest, static_cast<size_t>(connection.statusRequest));
            connection.statusRequest = 0;
            if (byte == kRequest[0]) {
                connection.statusRequest = 1;
                continue;
            }
            kept += byte;
        }
        return kept;
    }

    void answer(Connection& connection, int n)
    {
        Status status;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            status = m_status;
        }
        const int reply = statusAnswer(status, n);
        if (reply < 0) return;
        const char byte = static_cast<char>(reply);
        // A status answer is one byte: the socket's buffer always has room for it.
        static_cast<void>(::send(connection.socket.get(), &byte, 1, MSG_NOSIGNAL | MSG_DONTWAIT));
    }

    void finish(Connection& connection)
    {
        connection.socket.reset();
        if (connection.file.get() < 0) return;
        connection.file.reset();
        char name[32];
        std::snprintf(name, sizeof name, "job-%04d.bin", m_nextJob);
        const SavedJob job{m_nextJob, (fs::path(m_options.outDir) / name).string(), connection.saved};
        std::error_code error;
        fs::rename(connection.filePath, job.path, error);
        if (error) {
            std::fprintf(stderr, "sb-virtual-printer: cannot save %s: %s\n", job.path.c_str(), error.message().c_str());
            fs::remove(connection.filePath, error);
            return;
        }
        ++m_nextJob;
        if (handler) handler(job);
        std::lock_guard<std::mutex> lock(m_mutex);
        ++m_jobs;
        m_changed.notify_all();
    }

    void serve()
    {
        while (applyRequests()) {
            std::vector<pollfd> fds;
            fds.push_back({m_wake.get(), POLLIN, 0});
            // A printer that serves one connection at a time leaves the next in the system's backlog.
            const bool busy = m_options.oneAtATime &&
                              std::any_of(m_open.begin(), m_open.end(),
                                          [](const Connection& connection) { return connection.socket.get() >= 0; });
            if (m_listen.get() >= 0 && !busy) fds.push_back({m_listen.get(), POLLIN, 0});
            const size_t firstConnection = fds.size();
            int timeout = -1;
            const Clock::time_point now = Clock::now();
            auto wakeAt = [&](Clock::time_point when) {
                timeout = timeout < 0 ? msUntil(when, now) : std::min(timeout, msUntil(when, now));
            };
            {
                std::lock_guard<std::mutex> lock(m_mutex);
                if (m_hanging && m_resumeAt != Clock::time_point()) wakeAt(m_resumeAt);
            }
            for (const Connection& connection : m_open) {
                // A hung connection, or one that has ended and waits to be closed, is not looked at at all:
                // it notices neither data nor the peer going away.
                const bool idle = connection.hung || connection.ended;
                fds.push_back({idle ? -1 : connection.socket.get(), POLLIN | POLLRDHUP, 0});
                if (connection.ended) wakeAt(connection.closeAt);
                if (!idle && connection.size > 0) wakeAt(connection.lastData + m_options.idleGap);
            }
            if (::poll(fds.data(), fds.size(), timeout) < 0 && errno != EINTR) {
                std::fprintf(stderr, "sb-virtual-printer: poll: %s\n", std::strerror(errno));
                break;
            }
            if (fds[0].revents & POLLIN) drainWakes();
            if (firstConnection == 2 && (fds[1].revents & POLLIN)) acceptAll(m_options.oneAtATime ? 1 : -1);

            size_t index = firstConnection;
            for (Connection& connection : m_open) {
                if (index >= fds.size()) break;  // accepted during this turn: not polled yet
                if (fds[index++].revents) receive(connection);
            }
            const Clock::time_point later = Clock::now();
            for (Connection& connection : m_open) {
                if (connection.socket.get() < 0) continue;
                if (connection.ended ? later >= connection.closeAt
                                     : !connection.hung && connection.size > 0 &&
                                           later - connection.lastData >= m_options.idleGap)
                    finish(connection);
            }
            m_open.remove_if([](const Connection& connection) { return connection.socket.get() < 0; });
        }
        for (Connection& connection : m_open) dropUnread(connection);
        m_open.clear();
        m_listen.reset();
    }

    const Options m_options;
    Fd m_wake;
    std::thread m_thread;
    std::list<Connection> m_open;  // the serving thread's only
    int m_nextJob = 1;             // the serving thread's only
    unsigned m_received = 0;       // the serving thread's only

    mutable std::mutex m_mutex;  // guards the members below
    mutable std::condition_variable m_changed;
    Fd m_listen;
    int m_port = 0;
    bool m_stopping = false;
    Status m_status;
    bool m_wantHang;
    bool m_hanging = false;
    std::chrono::milliseconds m_resumeAfter;
    Clock::time_point m_resumeAt;  // when a hang with a time ends; zero: never
    bool m_resumeRequested = false;  // stalled connections are to be read again
    long long m_stallAfter;
    std::chrono::milliseconds m_closeDelay;
    bool m_wantRefuse;
    bool m_refusing = false;
    int m_refuseRequests = 0;
    int m_refuseAnswered = 0;
    std::string m_refuseError;
    int m_jobs = 0;
    int m_connections = 0;
};

namespace {
struct StatusAnswers {
    Status status;
    const char* name;
    unsigned char answers[4];  // to DLE EOT 1 (printer), 2 (offline cause), 3 (error cause), 4 (paper)
};
// Fixed bits 1 and 4 (0x12) in every answer; offline is bit 3 of the first; cover open bit 2, paper end
// bit 5 and error bit 6 of the second; paper near end bits 2-3 and paper end bits 5-6 of the fourth.
const StatusAnswers kStatuses[] = {
    {Status::Ready, "ready", {0x12, 0x12, 0x12, 0x12}},
    {Status::PaperNearEnd, "paper-near-end", {0x12, 0x12, 0x12, 0x1e}},
    {Status::PaperOut, "paper-out", {0x1a, 0x32, 0x12, 0x72}},
    {Status::CoverOpen, "cover-open", {0x1a, 0x16, 0x12, 0x12}},
    {Status::Offline, "offline", {0x1a, 0x12, 0x12, 0x12}},
    {Status::Error, "error", {0x1a, 0x52, 0x52, 0x12}},
    {Status::Silent, "silent", {0, 0, 0, 0}},
};
}  // namespace

const char* statusName(Status status)
{
    for (const StatusAnswers& entry : kStatuses)
        if (entry.status == status) return entry.name;
    return "";
}

bool statusFromName(const std::string& name, Status* status)
{
    for (const StatusAnswers& entry : kStatuses) {
        if (name == entry.name) {
            *status = entry.status;
            return true;
        }
    }
    return false;
}

int statusAnswer(Status status, int n)
{
    if (status == Status::Silent || n < 1 || n > 4) return -1;
    for (const StatusAnswers& entry : kStatuses)
        if (entry.status == status) return entry.answers[n - 1];
    return -1;
}

VirtualPrinter::VirtualPrinter(const Options& options) : m_server(std::make_unique<Server>(options)) {}

VirtualPrinter::~VirtualPrinter() = default;

void VirtualPrinter::setJobHandler(std::function<void(const SavedJob&)> handler)
{
    m_server->handler = std::move(handler);
}

bool VirtualPrinter::start(std::string* error)
{
    return m_server->start(error);
}

void VirtualPrinter::stop()
{
    m_server->stop();
}

int VirtualPrinter::port() const
{
    return m_server->port();
}

void VirtualPrinter::setHang(bool hang, std::chrono::milliseconds resumeAfter)
{
    m_server->setHang(hang, resumeAfter);
}

void VirtualPrinter::setStallAfter(long long bytes)
{
    m_server->setStallAfter(bytes);
}

void VirtualPrinter::setCloseDelay(std::chrono::milliseconds delay)
{
    m_server->setCloseDelay(delay);
}

void VirtualPrinter::setStatus(Status status)
{
    m_server->setStatus(status);
}

bool VirtualPrinter::hanging() const
{
    return m_server->hanging();
}

bool VirtualPrinter::setRefuse(bool refuse, std::string* error)
{
    return m_server->setRefuse(refuse, error);
}

bool VirtualPrinter::refusing() const
{
    return m_server->refusing();
}

int VirtualPrinter::jobCount() const
{
    return m_server->jobCount();
}

int VirtualPrinter::connectionCount() const
{
    return m_server->connectionCount();
}

bool VirtualPrinter::waitForJobs(int count, std::chrono::milliseconds timeout) const
{
    return m_server->waitForJobs(count, timeout);
}

bool VirtualPrinter::waitForConnections(int count, std::chrono::milliseconds timeout) const
{
    return m_server->waitForConnections(count, timeout);
}

}  // namespace virtual_printer
