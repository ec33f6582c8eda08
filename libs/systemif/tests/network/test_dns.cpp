// Name resolution against the hosts file and against DNS servers on loopback that this test runs itself.

#include "systemif/network.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
using systemif::network::getIpByHostFromDNS;

// A DNS server on 127.0.0.1 that answers every A query with one fixed address, or with nothing at all.
class FixedAnswerServer {
public:
    explicit FixedAnswerServer(const char* answer) : m_silent(answer == nullptr)
    {
        if (answer) inet_pton(AF_INET, answer, m_answer);
        m_fd = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        if (m_fd < 0 || ::bind(m_fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
            ::getsockname(m_fd, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
            return;
        }
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] { serve(); });
    }
    ~FixedAnswerServer()
    {
        m_stop = true;
        if (m_thread.joinable()) m_thread.join();
        if (m_fd >= 0) ::close(m_fd);
    }

    QString server() const { return QStringLiteral("127.0.0.1:%1").arg(m_port); }
    int queries() const { return m_queries; }

private:
    void serve()
    {
        while (!m_stop) {
            pollfd item{m_fd, POLLIN, 0};
            if (::poll(&item, 1, 50) <= 0) continue;
            unsigned char packet[512];
            sockaddr_in peer{};
            socklen_t length = sizeof peer;
            const ssize_t size = ::recvfrom(m_fd, packet, sizeof packet - 16, 0, reinterpret_cast<sockaddr*>(&peer), &length);
            // Header of 12 bytes, then the question: labels up to a zero byte, type and class.
            std::size_t end = 12;
            while (size > 12 && end < static_cast<std::size_t>(size) && packet[end] != 0) end += packet[end] + 1;
            end += 5;
            if (size < 12 || end > static_cast<std::size_t>(size)) continue;
            ++m_queries;
            if (m_silent) continue;
            packet[2] = 0x81;  // a response, recursion desired and available, no error
            packet[3] = 0x80;
            packet[6] = 0, packet[7] = 1;                               // one answer
            packet[8] = packet[9] = packet[10] = packet[11] = 0;        // nothing else
            const unsigned char record[] = {0xc0, 12, 0, 1, 0, 1, 0, 0, 0, 60, 0, 4};  // the name, A, IN, TTL 60
            std::memcpy(packet + end, record, sizeof record);
            std::memcpy(packet + end + sizeof record, m_answer, 4);
            ::sendto(m_fd, packet, end + sizeof record + 4, 0, reinterpret_cast<sockaddr*>(&peer), length);
        }
    }

    const bool m_silent;
    int m_fd = -1;
    int m_port = 0;
    unsigned char m_answer[4] = {};
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_queries{0};
    std::thread m_thread;
};

TEST(DnsResolution, AsksTheGivenServersInTurnButNotForAddresses)
{
    EXPECT_EQ(getIpByHostFromDNS(QStringLiteral("localhost"), {}), QStringLiteral("127.0.0.1"));  // system resolver
    FixedAnswerServer server("10.20.30.40");
    EXPECT_EQ(getIpByHostFromDNS(QStringLiteral("shop.example"), {server.server()}), QStringLiteral("10.20.30.40"));
    // A closed port on loopback refuses at once and the next server is asked.
    EXPECT_EQ(getIpByHostFromDNS(QStringLiteral("kitchen"), {QStringLiteral("127.0.0.1:1"), server.server()}),
              QStringLiteral("10.20.30.40"));
    EXPECT_EQ(getIpByHostFromDNS(QStringLiteral("127.0.0.5"), {server.server()}), QStringLiteral("127.0.0.5"));
    EXPECT_EQ(server.queries(), 2);
}

TEST(DnsResolutionFailure, SilentServerGivesEmptyWhenTimeRunsOut)
{
    FixedAnswerServer silent(nullptr);
    const Clock::time_point start = Clock::now();
    EXPECT_EQ(getIpByHostFromDNS(QStringLiteral("shop.example"), {silent.server()}), QString());
    EXPECT_GE(silent.queries(), 1);
    EXPECT_LT(Clock::now() - start, 10s) << "hang guard";
}

TEST(DnsResolutionFailure, RefusingServerBadNamesAndBadServersGiveEmpty)
{
    EXPECT_EQ(getIpByHostFromDNS(QStringLiteral("shop.example"), {QStringLiteral("127.0.0.1:1")}), QString());
    EXPECT_EQ(getIpByHostFromDNS(QStringLiteral("not a name"), {}), QString());
    EXPECT_EQ(getIpByHostFromDNS(QString(), {}), QString());
    EXPECT_EQ(getIpByHostFromDNS(QStringLiteral("shop.example"), {QStringLiteral("not-a-server")}), QString());
}

}  // namespace
