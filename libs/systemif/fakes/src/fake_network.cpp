#include "systemif/network_fake.h"

namespace systemif {
namespace network {

namespace {

QString lookupKey(const QString& host, const QStringList& dnsServers)
{
    return host + QLatin1Char('@') + dnsServers.join(QLatin1Char(','));
}

}  // namespace

void FakePinger::setAnswer(const QString& address, const PingInfo& answer)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_answers[address] = answer;
}

QList<FakePinger::Call> FakePinger::calls() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

PingInfo FakePinger::ping(const QString& address, int count, int timeoutMs)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_calls << Call{address, count, timeoutMs};
    PingInfo lostAll;
    lostAll.sent = lostAll.lost = count > 0 ? std::uint32_t(count) : 0;
    return m_answers.value(address, lostAll);
}

void FakeResolver::setAddress(const QString& host, const QString& address, const QStringList& dnsServers)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_addresses[lookupKey(host, dnsServers)] = address;
}

QString FakeResolver::resolve(const QString& host, const QStringList& dnsServers)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_addresses.value(lookupKey(host, dnsServers));
}

FakeNetwork::FakeNetwork() : m_previous(networkBackend())
{
    setNetworkBackend(NetworkBackend{&pinger, &resolver});
}

FakeNetwork::~FakeNetwork()
{
    setNetworkBackend(m_previous);
}

}  // namespace network
}  // namespace systemif
