#include "status_link_socket_p.h"

#include "systemif/escpos_status.h"

#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

namespace systemif {
namespace print {

namespace {

using Clock = std::chrono::steady_clock;
const std::chrono::milliseconds kConnectTimeout(500);
const std::chrono::milliseconds kAnswerTimeout(300);

class Socket {
public:
    explicit Socket(int fd) : m_fd(fd) {}
    ~Socket()
    {
        if (m_fd >= 0) ::close(m_fd);
    }
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    int get() const { return m_fd; }

private:
    int m_fd;
};

int msLeft(Clock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

// A connected socket to one of the host's addresses, or -1 with `error` set.
int connectWithin(const QString& host, int port, Clock::time_point deadline, QString* error)
{
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* addresses = nullptr;
    const int resolved =
        ::getaddrinfo(host.toUtf8().constData(), QByteArray::number(port).constData(), &hints, &addresses);
    if (resolved != 0) {
        *error = QStringLiteral("%1 cannot be resolved: %2").arg(host, QString::fromLocal8Bit(gai_strerror(resolved)));
        return -1;
    }
    *error = QStringLiteral("nothing answers at %1:%2").arg(host).arg(port);
    int connected = -1;
    for (addrinfo* address = addresses; address && connected < 0; address = address->ai_next) {
        const int fd = ::socket(address->ai_family, address->ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
        if (fd < 0) continue;
        int result = ::connect(fd, address->ai_addr, address->ai_addrlen);
        if (result < 0 && errno == EINPROGRESS) {
            pollfd ready{fd, POLLOUT, 0};
            int failure = ETIMEDOUT;
            socklen_t size = sizeof failure;
            if (::poll(&ready, 1, msLeft(deadline)) > 0) ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &failure, &size);
            errno = failure;
            result = failure == 0 ? 0 : -1;
        }
        if (result == 0) {
            connected = fd;
        } else {
            *error = QStringLiteral("%1:%2: %3").arg(host).arg(port).arg(QString::fromLocal8Bit(std::strerror(errno)));
            ::close(fd);
        }
    }
    ::freeaddrinfo(addresses);
    return connected;
}

}  // namespace

PrinterAnswer SocketStatusLink::ask(const QString& host, int port)
{
    PrinterAnswer answer;
    const Socket socket(connectWithin(host, port, Clock::now() + kConnectTimeout, &answer.error));
    if (socket.get() < 0) return answer;
    answer.reach = PrinterAnswer::Reach::Silent;
    if (::send(socket.get(), escpos::kStatusRequest, sizeof escpos::kStatusRequest, MSG_NOSIGNAL) !=
        static_cast<ssize_t>(sizeof escpos::kStatusRequest))
        return answer;
    const Clock::time_point deadline = Clock::now() + kAnswerTimeout;
    while (answer.count < escpos::kStatusAnswers) {
        pollfd ready{socket.get(), POLLIN, 0};
        if (::poll(&ready, 1, msLeft(deadline)) <= 0) break;
        const ssize_t got = ::recv(socket.get(), answer.answers + answer.count,
                                   static_cast<size_t>(escpos::kStatusAnswers - answer.count), 0);
        if (got < 0 && errno == EINTR) continue;
        if (got <= 0) break;
        answer.count += static_cast<int>(got);
    }
    if (answer.count > 0) answer.reach = PrinterAnswer::Reach::Answered;
    return answer;
}

}  // namespace print
}  // namespace systemif
