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
    if (fd < 0) return -1;
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 || ::listen(fd, 8) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        ::close(fd);
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

QByteArray statusText(int status)
{
    switch (status) {
    case 200: return "OK";
    case 404: return "Not Found";
    case 500: return "Internal Server Error";
    default: return "Status";
    }
}

}  // namespace

LocalHttpServer::LocalHttpServer()
{
    m_listenFd = listenOnLoopback(m_port);
    if (m_listenFd >= 0) m_thread = std::thread([this] { serve(); });
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
    m_replies[path] = Reply{status, body, false};
}

void LocalHttpServer::hang(const QByteArray& path)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_replies[path] = Reply{0, QByteArray(), true};
}

QString LocalHttpServer::url(const QString& path) const
{
    return QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path);
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

void LocalHttpServer::serve()
{
    while (!m_stop) {
        if (!waitReadable(m_listenFd, 50)) continue;  // wakes up regularly to notice m_stop
        const int fd = ::accept4(m_listenFd, nullptr, nullptr, SOCK_CLOEXEC);
        if (fd >= 0) answer(fd);
    }
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
    const QByteArray path = requestLine.size() >= 2 ? requestLine[1] : QByteArray();

    Reply reply;
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.append(head);
        reply = m_replies.value(path, Reply{404, "not found", false});
    }
    if (reply.hang) {
        m_hungFds.push_back(fd);
        return;
    }
    const QByteArray response = "HTTP/1.1 " + QByteArray::number(reply.status) + ' ' + statusText(reply.status) +
                                "\r\nContent-Type: application/json\r\nContent-Length: " +
                                QByteArray::number(reply.body.size()) + "\r\nConnection: close\r\n\r\n" + reply.body;
    for (qsizetype sent = 0; sent < response.size();) {
        const ssize_t n = ::send(fd, response.constData() + sent, static_cast<size_t>(response.size() - sent), MSG_NOSIGNAL);
        if (n <= 0) break;
        sent += n;
    }
    ::close(fd);
}
