#pragma once
// In-memory network services for tests: pings answered from a table, names resolved from a table. Not
// shipped: only tests link systemif::fakes.

#include "systemif/network_backend.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <mutex>

namespace systemif {
namespace network {

class FakePinger : public Pinger {
public:
    struct Call {
        QString address;
        int count;
        int timeoutMs;
    };
    // What pinging the address gives; an address without an answer loses every request.
    void setAnswer(const QString& address, const PingInfo& answer);
    // Every ping asked for so far, in order.
    QList<Call> calls() const;

    PingInfo ping(const QString& address, int count, int timeoutMs) override;

private:
    mutable std::mutex m_mutex;
    QMap<QString, PingInfo> m_answers;  // guarded by m_mutex
    QList<Call> m_calls;                // guarded by m_mutex
};

class FakeResolver : public Resolver {
public:
    // The address the host resolves to when asked of these servers (none: the system's resolver).
    void setAddress(const QString& host, const QString& address, const QStringList& dnsServers = {});

    QString resolve(const QString& host, const QStringList& dnsServers) override;

private:
    mutable std::mutex m_mutex;
    QMap<QString, QString> m_addresses;  // by host and servers; guarded by m_mutex
};

// Both fakes, installed as the network backend while the object lives; the previous backend comes back
// when it is destroyed.
class FakeNetwork {
public:
    FakeNetwork();
    ~FakeNetwork();
    FakeNetwork(const FakeNetwork&) = delete;
    FakeNetwork& operator=(const FakeNetwork&) = delete;

    FakePinger pinger;
    FakeResolver resolver;

private:
    NetworkBackend m_previous;
};

}  // namespace network
}  // namespace systemif
