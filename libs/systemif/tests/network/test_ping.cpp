// ICMP echo on loopback only: nothing here sends a packet beyond this machine.

#include "systemif/network.h"

#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <thread>

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;
using systemif::network::ping;

// Whether this process may open an ICMP socket of either kind; without one every echo is lost by design.
bool icmpAvailable()
{
    for (int type : {SOCK_DGRAM, SOCK_RAW}) {
        const int fd = ::socket(AF_INET, type, IPPROTO_ICMP);
        if (fd >= 0) {
            ::close(fd);
            return true;
        }
    }
    return false;
}

class Ping : public ::testing::Test {
protected:
    void SetUp() override
    {
        if (!icmpAvailable()) GTEST_SKIP() << "no ICMP socket: neither ping_group_range nor CAP_NET_RAW allows one";
    }
};

TEST_F(Ping, LoopbackAnswersEveryRequestByAddressOrName)
{
    const systemif::network::PingInfo info = ping(QStringLiteral("127.0.0.1"), 4, 1000);
    EXPECT_EQ(info.sent, 4u);
    EXPECT_EQ(info.lost, 0u);
    EXPECT_LT(info.roundTripTime, 1000u);
    const systemif::network::PingInfo named = ping(QStringLiteral("localhost"), 2, 1000);
    EXPECT_EQ(named.sent, 2u);
    EXPECT_EQ(named.lost, 0u);
    EXPECT_TRUE(systemif::network::checkPing(QStringLiteral(" 127.0.0.1 ")));  // stray blanks from a settings file
    // A printer on an IPv6 address, as its queue's URI gives it, with or without brackets.
    for (const char* v6 : {"::1", "[::1]"}) EXPECT_TRUE(systemif::network::checkPing(QString::fromLatin1(v6))) << v6;
}

TEST_F(Ping, ConcurrentPingsEachGetTheirOwnReplies)
{
    systemif::network::PingInfo second;
    std::thread other([&second] { second = ping(QStringLiteral("127.0.0.1"), 5, 1000); });
    const systemif::network::PingInfo first = ping(QStringLiteral("127.0.0.2"), 5, 1000);
    other.join();
    EXPECT_EQ(first.lost, 0u);
    EXPECT_EQ(second.lost, 0u);
}

// An unresolvable name counts every request as lost (a loss ratio of 1, not 0/0) and returns at once: the
// name is refused before any query leaves the machine.
TEST(PingFailure, UnresolvableNameLosesEveryRequestWithoutHanging)
{
    for (const QString& name : {QStringLiteral("no such host"), QStringLiteral(""), QStringLiteral("a..b"),
                                QString(300, QLatin1Char('a'))}) {
        const Clock::time_point start = Clock::now();
        const systemif::network::PingInfo info = ping(name, 20, 3000);
        EXPECT_EQ(info.sent, 20u) << name.toStdString();
        EXPECT_EQ(info.lost, 20u) << name.toStdString();
        EXPECT_EQ(info.roundTripTime, 0u);
        EXPECT_LT(Clock::now() - start, 3s) << "hang guard";
    }
    EXPECT_FALSE(systemif::network::checkPing(QStringLiteral("no such host")));
}

TEST(PingFailure, NoRequestsGiveAnEmptyResult)
{
    for (int count : {0, -3}) {
        const systemif::network::PingInfo info = ping(QStringLiteral("127.0.0.1"), count, 1000);
        EXPECT_EQ(info.sent + info.lost, 0u) << count;
    }
}

}  // namespace
