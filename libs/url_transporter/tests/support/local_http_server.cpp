#include "local_http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int listenOnLoopback(int& port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, 8) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        if (fd >= 0) ::close(fd);
        return -1;
    }
    port = ntohs(address.sin_port);
    return fd;
}

bool waitReadable(int fd, int timeoutMs)
{
    pollfd entry = {fd, POLLIN, 0};
    return ::poll(&entry, 1, timeoutMs) > 0;
}

}  // namespace

LocalHttpServer::LocalHttpServer()
{
    m_listenFd = listenOnLoopback(m_port);
    if (m_listenFd < 0) return;
    m_thread = std::thread([this] {
        while (!m_stop) {
            if (!waitReadable(m_listenFd, 50)) continue;  // wakes up regularly to notice m_stop
            const int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
            if (fd >= 0) answer(fd);
        }
    });
}

LocalHttpServer::~LocalHttpServer()
{
    m_stop = true;
    if (m_thread.joinable()) m_thread.join();
    for (int fd : m_hungFds) ::close(fd);
    if (m_listenFd >= 0) ::close(m_listenFd);
}

void LocalHttpServer::respond(const QByteArray& path, int status, const QByteArray& body)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_replies[path] = {status, body};
}

QList<QByteArray> LocalHttpServer::requests() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

int LocalHttpServer::closedPort()
{
    int port = 0;
    const int fd = listenOnLoopback(port);
    if (fd >= 0) ::close(fd);
    return port;
}

void LocalHttpServer::answer(int fd)
{
    QByteArray head;
    char buffer[4096];
    while (!head.contains("\r\n\r\n") && head.size() < 65536 && waitReadable(fd, 2000)) {
        const ssize_t got = ::read(fd, buffer, sizeof buffer);
        if (got <= 0) break;
        head.append(buffer, static_cast<int>(got));
    }
    const QList<QByteArray> requestLine = head.left(head.indexOf("\r\n")).split(' ');
    QPair<int, QByteArray> reply;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.append(head);
        reply = m_replies.value(requestLine.value(1), {404, "not found"});
    }
    if (reply.first == 0) {
        m_hungFds.push_back(fd);
        return;
    }
    const QByteArray response = "HTTP/1.1 " + QByteArray::number(reply.first) + (reply.first == 200 ? " OK" : " Error") +
                                "\r\nContent-Type: application/json\r\nContent-Length: " +
                                QByteArray::number(reply.second.size()) + "\r\nConnection: close\r\n\r\n" + reply.second;
    for (qsizetype sent = 0, n = 0; sent < response.size(); sent += n)
        if ((n = ::send(fd, response.constData() + sent, size_t(response.size() - sent), MSG_NOSIGNAL)) <= 0) break;
    ::close(fd);
}
