#pragma once
// A client of the virtual printer on 127.0.0.1, as a print spooler's socket backend talks to it.

#include <netinet/in.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

class LoopbackClient {
public:
    explicit LoopbackClient(int port) : m_fd(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_connected = ::connect(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
    }
    ~LoopbackClient() { ::close(m_fd); }
    LoopbackClient(const LoopbackClient&) = delete;
    LoopbackClient& operator=(const LoopbackClient&) = delete;

    bool connected() const { return m_connected; }
    // Sends the bytes; with `end`, ends the data as a spooler backend does when the job has been sent.
    bool send(const std::string& bytes, bool end = true)
    {
        const bool sent = ::send(m_fd, bytes.data(), bytes.size(), MSG_NOSIGNAL) == ssize_t(bytes.size());
        return sent && (!end || ::shutdown(m_fd, SHUT_WR) == 0);
    }
    // True when the printer closes the connection within the time.
    bool closedByPeer(int timeoutMs)
    {
        pollfd fd{m_fd, POLLIN, 0};
        char byte;
        return ::poll(&fd, 1, timeoutMs) > 0 && ::recv(m_fd, &byte, 1, MSG_DONTWAIT) == 0;
    }

private:
    int m_fd;
    bool m_connected = false;
};
