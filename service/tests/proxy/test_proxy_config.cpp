// Choosing the proxy: grouped by the share of lost pings, then the fewest lost or the fastest, ties to the
// first listed; one selection however many callers ask at once.
#include "proxy_config_p.h"
#include "service_business/proxy_config.h"

#include "qt_print.h"

#include "systemif/network_fake.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using service_business::ProxyConfig;
using utility_business::ProxyServerInfo;
namespace proxy = service_business::proxy;

namespace {

// "a:20/10/5 b:..." as servers a, b, ... each answering its pings with sent/lost/time.
struct Servers {
    explicit Servers(const QString& table)
    {
        for (const QString& entry : table.split(' ', Qt::SkipEmptyParts)) {
            const QString name = entry.section(':', 0, 0);
            const QStringList n = entry.section(':', 1).split('/');
            list << ProxyServerInfo::fromJson(QStringLiteral(R"({"host": "%1.proxy", "port": %2})").arg(name).arg(list.size() + 1));
            list.last().address = name;
            network.pinger.setAnswer(name, {n[0].toUInt(), n[1].toUInt(), n[2].toUInt()});
        }
    }
    // The pings asked for, each of 20 requests of 3 s.
    int calls() const
    {
        for (const auto& call : network.pinger.calls()) EXPECT_TRUE(call.count == 20 && call.timeoutMs == 3000);
        return network.pinger.calls().size();
    }
    QList<ProxyServerInfo> list;
    systemif::network::FakeNetwork network;
};

class ProxySelection : public ::testing::Test {
protected:
    void TearDown() override
    {
        proxy::resetCache();
        proxy::setServersFunction(nullptr);
    }
    void use(const Servers& servers)
    {
        proxy::setServersFunction([list = servers.list] { return list; });
    }
};

TEST_F(ProxySelection, PrefersTheLowestLossGroupThenItsBestAndTiesGoToTheFirst)
{
    EXPECT_FALSE(ProxyConfig::needSetProxy()) << "proxies are switched off";
    const std::pair<const char*, int> cases[] = {
        {"a:20/10/5 b:20/2/40 c:20/2/40", 1},  // good group (0.1): the smaller round trip, a tie to the first
        {"a:20/10/5 b:20/2/40 c:20/2/39", 2},
        {"a:20/11/1 b:20/4/90 c:20/6/1", 1},   // fair group: the fewest lost
        {"a:20/20/0 b:20/20/0", 0},            // every ping lost: a tie goes to the first
        {"a:20/20/0 b:19/19/0", 1},
        {"a:0/0/0 b:20/12/300", 0},            // nothing sent counts as poor, as does 0.6 exactly
    };
    for (const auto& [table, expected] : cases) {
        const Servers servers{QString::fromLatin1(table)};
        EXPECT_EQ(proxy::selectProxy(servers.list), expected) << table;
    }
}

TEST_F(ProxySelection, OneServerIsChosenWithoutPingAndOnlyOnce)
{
    const Servers servers(QStringLiteral("10.1.1.1:20/0/1"));
    use(servers);
    QString host, address;
    int port = 0;
    ASSERT_TRUE(ProxyConfig::bestProxy(host, port, address));
    EXPECT_EQ(QStringList({host, address, QString::number(port)}), QStringList({"10.1.1.1.proxy", "10.1.1.1", "1"}));
    EXPECT_EQ(servers.calls(), 0);

    QString kept = "kept";
    EXPECT_FALSE(ProxyConfig::bestProxy(kept, port, kept));
    EXPECT_EQ(kept, "kept");
    EXPECT_EQ(port, 1);
}

TEST_F(ProxySelection, NoServersFailsEveryTimeAndLeavesArguments)
{
    use(Servers(QString()));
    QString host = "h", address = "a";
    int port = 7;
    EXPECT_FALSE(ProxyConfig::bestProxy(host, port, address));
    EXPECT_FALSE(ProxyConfig::bestProxy(host, port, address));
    EXPECT_EQ(host + address + QString::number(port), "ha7");
}

TEST_F(ProxySelection, ConcurrentFirstCallsSelectOnce)
{
    const Servers servers(QStringLiteral("a:20/0/9 b:20/0/3"));
    use(servers);
    std::atomic<int> successes{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            QString host, address;
            int port = 0;
            if (ProxyConfig::bestProxy(host, port, address)) successes += address == "b" ? 1 : 100;
        });
    for (auto& t : threads) t.join();
    EXPECT_EQ(successes, 1);
    EXPECT_EQ(servers.calls(), 2) << "one selection: each server pinged once";
}

TEST(DnsComparison, AgreesOnlyWhenTheSystemsAndThePublicResolversGiveTheSameAnswer)
{
    const QStringList publicServers{"114.114.114.114", "115.115.115.115"};
    systemif::network::FakeNetwork network;
    EXPECT_FALSE(proxy::dnsAnswersAgree("shop.example")) << "no answer at all";
    network.resolver.setAddress("shop.example", "1.2.3.4");
    EXPECT_FALSE(proxy::dnsAnswersAgree("shop.example"));
    network.resolver.setAddress("shop.example", "1.2.3.5", publicServers);
    EXPECT_FALSE(proxy::dnsAnswersAgree("shop.example"));
    network.resolver.setAddress("shop.example", "1.2.3.4", publicServers);
    EXPECT_TRUE(proxy::dnsAnswersAgree("shop.example"));
}

}  // namespace
