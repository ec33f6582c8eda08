#include "proxy_config_p.h"
#include "service_business/proxy_config.h"

#include <gtest/gtest.h>

#include <QMap>

#include <atomic>
#include <thread>

using service_business::ProxyConfig;
using utility_business::ProxyServerInfo;
namespace proxy = service_business::proxy;

namespace {

ProxyServerInfo server(const QString& address, int port)
{
    ProxyServerInfo info;
    info.address = address;
    info.host = address + QStringLiteral(".proxy");
    info.port = port;
    return info;
}

// A ping that answers from a table by address and counts its calls.
struct ScriptedPing {
    QMap<QString, proxy::PingStats> answers;
    std::shared_ptr<std::atomic<int>> calls = std::make_shared<std::atomic<int>>(0);
    proxy::PingFunction function() const
    {
        auto table = answers;
        auto counter = calls;
        return [table, counter](const QString& address, int count, int timeoutMs) {
            EXPECT_EQ(count, 20);
            EXPECT_EQ(timeoutMs, 3000);
            ++*counter;
            return table.value(address);
        };
    }
};

class ProxySelection : public ::testing::Test {
protected:
    void TearDown() override
    {
        proxy::resetCache();
        proxy::setPingFunction(nullptr);
        proxy::setServersFunction(nullptr);
    }
    void useServers(const QList<ProxyServerInfo>& servers)
    {
        proxy::setServersFunction([servers] { return servers; });
    }
};

}  // namespace

TEST_F(ProxySelection, ProxiesAreSwitchedOff)
{
    EXPECT_FALSE(ProxyConfig::needSetProxy());
}

TEST_F(ProxySelection, GoodGroupPrefersSmallestRoundTripAndTiesGoToLowerIndex)
{
    const QList<ProxyServerInfo> servers{server("a", 1), server("b", 2), server("c", 3)};
    ScriptedPing ping;
    ping.answers = {{"a", {20, 10, 5}}, {"b", {20, 2, 40}}, {"c", {20, 2, 40}}};
    EXPECT_EQ(proxy::selectProxy(servers, ping.function()), 1);  // 0.5, 0.1, 0.1 with equal times
    ping.answers["c"] = {20, 2, 39};
    EXPECT_EQ(proxy::selectProxy(servers, ping.function()), 2);
}

TEST_F(ProxySelection, FairAndPoorGroupsPreferFewestLost)
{
    ScriptedPing ping;
    ping.answers = {{"a", {20, 11, 1}}, {"b", {20, 4, 90}}, {"c", {20, 6, 1}}};  // 0.55 fair, 0.2 fair, 0.3 fair
    EXPECT_EQ(proxy::selectProxy({server("a", 1), server("b", 2), server("c", 3)}, ping.function()), 1);

    ping.answers = {{"a", {20, 20, 0}}, {"b", {20, 20, 0}}};  // every request lost: a tie goes to the first
    EXPECT_EQ(proxy::selectProxy({server("a", 1), server("b", 2)}, ping.function()), 0);
    ping.answers = {{"a", {20, 20, 0}}, {"b", {19, 19, 0}}};
    EXPECT_EQ(proxy::selectProxy({server("a", 1), server("b", 2)}, ping.function()), 1);
}

TEST_F(ProxySelection, NothingSentCountsAsPoor)
{
    ScriptedPing ping;
    ping.answers = {{"a", {0, 0, 0}}, {"b", {20, 12, 300}}};  // NaN ratio, then 0.6 exactly: both poor
    EXPECT_EQ(proxy::selectProxy({server("a", 1), server("b", 2)}, ping.function()), 0);
}

TEST_F(ProxySelection, OneServerIsChosenWithoutPingAndOnlyOnce)
{
    ScriptedPing ping;
    proxy::setPingFunction(ping.function());
    useServers({server("10.1.1.1", 8080)});

    QString host, address;
    int port = 0;
    ASSERT_TRUE(ProxyConfig::bestProxy(host, port, address));
    EXPECT_EQ(host, "10.1.1.1.proxy");
    EXPECT_EQ(address, "10.1.1.1");
    EXPECT_EQ(port, 8080);
    EXPECT_EQ(*ping.calls, 0);

    QString host2 = "kept";
    int port2 = 7;
    QString address2 = "kept";
    EXPECT_FALSE(ProxyConfig::bestProxy(host2, port2, address2));
    EXPECT_EQ(host2, "kept");
    EXPECT_EQ(port2, 7);
}

TEST_F(ProxySelection, NoServersFailsEveryTimeAndLeavesArguments)
{
    useServers({});
    QString host = "h", address = "a";
    int port = 1;
    EXPECT_FALSE(ProxyConfig::bestProxy(host, port, address));
    EXPECT_FALSE(ProxyConfig::bestProxy(host, port, address));
    EXPECT_EQ(host, "h");
    EXPECT_EQ(port, 1);
}

TEST_F(ProxySelection, ConcurrentFirstCallsSelectOnce)
{
    ScriptedPing ping;
    ping.answers = {{"a", {20, 0, 9}}, {"b", {20, 0, 3}}};
    proxy::setPingFunction(ping.function());
    useServers({server("a", 1), server("b", 2)});

    std::atomic<int> successes{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            QString host, address;
            int port = 0;
            if (ProxyConfig::bestProxy(host, port, address)) {
                ++successes;
                EXPECT_EQ(address, "b");
            }
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(successes, 1);
    EXPECT_EQ(*ping.calls, 2);  // one selection: each server pinged once
}

TEST(DnsComparison, AgreesOnlyWhenBothResolversGiveTheSameAnswer)
{
    QStringList asked;
    auto resolve = [&](const QString& host, const QStringList& servers) {
        asked << host + "@" + servers.join(',');
        return QStringLiteral("1.2.3.4");
    };
    EXPECT_TRUE(proxy::dnsAnswersAgree("shop.example", resolve));
    EXPECT_EQ(asked, QStringList({"shop.example@", "shop.example@114.114.114.114,115.115.115.115"}));

    EXPECT_FALSE(proxy::dnsAnswersAgree("x", [](const QString&, const QStringList& s) {
        return s.isEmpty() ? QStringLiteral("1.1.1.1") : QStringLiteral("2.2.2.2");
    }));
    EXPECT_FALSE(proxy::dnsAnswersAgree("x", [](const QString&, const QStringList&) { return QString(); }));
}
