// sbtool bus: a broker on free loopback ports, a listener that prints what reaches its topic (sent by
// "sbtool bus send" or by the service's notifications), and one line when no broker is there.

#include "tool_run.h"

#include "service_business/notifications.h"

#include <csignal>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace cli_test;

namespace {

// A loopback port that was free a moment ago, or held while `keep` is set (for a port that is taken).
int loopbackPort(int* keep = nullptr)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0 || ::listen(fd, 1) != 0) {
        if (fd >= 0)
            ::close(fd);
        return 0;
    }
    if (keep)
        *keep = fd;
    else
        ::close(fd);
    return ntohs(address.sin_port);
}

class BusCommand : public ToolTest {
protected:
    void SetUp() override
    {
        ToolTest::SetUp();
        m_sendPort = loopbackPort();
        m_recvPort = loopbackPort();
        ASSERT_TRUE(m_sendPort > 0 && m_recvPort > 0 && m_sendPort != m_recvPort);
        m_env = {{"SERVICE_BUSINESS_BUS_HOST", "127.0.0.1"},
                 {"SERVICE_BUSINESS_BUS_PORT", QString::number(m_sendPort)},
                 {"SERVICE_BUSINESS_BUS_SUB_PORT", QString::number(m_recvPort)}};
    }

    QString endpoint(int port) const { return QStringLiteral("tcp://127.0.0.1:%1").arg(port); }

    // "sbtool bus broker", once it says where it listens.
    QProcess* startBroker()
    {
        QProcess* broker = start({"bus", "broker"}, m_env);
        EXPECT_NE(broker, nullptr);
        if (!broker)
            return nullptr;
        EXPECT_EQ(nextLine(*broker, QProcess::StandardOutput),
                  QStringLiteral("bus broker: taking messages on %1, serving subscribers on %2")
                      .arg(endpoint(m_sendPort), endpoint(m_recvPort))
                      .toUtf8());
        return broker;
    }

    // "sbtool bus listen", once its subscription is in force.
    QProcess* startListener(const QStringList& args)
    {
        QProcess* listener = start(QStringList{"bus", "listen"} + args, m_env);
        EXPECT_NE(listener, nullptr);
        if (!listener)
            return nullptr;
        EXPECT_EQ(nextLine(*listener, QProcess::StandardError),
                  QStringLiteral("listening for \"%1\" on %2").arg(args.first(), endpoint(m_recvPort)).toUtf8());
        return listener;
    }

    int m_sendPort = 0;
    int m_recvPort = 0;
    QMap<QString, QString> m_env;
};

TEST_F(BusCommand, ListenerPrintsSentTextsAndServiceNotificationsAndBothStopOnSignals)
{
    QProcess* broker = startBroker();
    ASSERT_NE(broker, nullptr);
    QProcess* listener = startListener({"1", "--count", "2"});
    ASSERT_NE(listener, nullptr);

    EXPECT_TRUE(succeeds(run({"bus", "send", "12", "another profile"}, m_env)));
    EXPECT_TRUE(succeeds(run({"bus", "send", "1", "{\"name\":\"closeApp\"}"}, m_env)));
    EXPECT_TRUE(succeeds(run({"bus", "send", "1", "两行\n文字"}, m_env)));

    EXPECT_EQ(exitCodeOf(*listener), 0);
    EXPECT_EQ(listener->readAllStandardOutput(), "1\t{\"name\":\"closeApp\"}\n1\t两行\\n文字\n");

    // The service's own notifications reach a listener through the same broker.
    QProcess* service = startListener({"7", "--count", "1"});
    ASSERT_NE(service, nullptr);
    for (auto it = m_env.cbegin(); it != m_env.cend(); ++it)
        qputenv(it.key().toUtf8().constData(), it.value().toUtf8());
    service_business::utility::printOrderCallBack(7, QStringLiteral("打印完成"), true);
    for (const QString& name : m_env.keys())
        qunsetenv(name.toUtf8().constData());

    EXPECT_EQ(exitCodeOf(*service), 0);
    EXPECT_EQ(service->readAllStandardOutput(),
              "7\t{\"arguments\":[\"打印完成\",true],\"name\":\"systemPrintCompleted\","
              "\"type\":\"notification\"}\n");

    // Both stop cleanly on their signals.
    QProcess* idle = startListener({"1"});
    ASSERT_NE(idle, nullptr);
    ::kill(static_cast<pid_t>(idle->processId()), SIGINT);
    EXPECT_EQ(exitCodeOf(*idle), 0);
    ::kill(static_cast<pid_t>(broker->processId()), SIGTERM);
    EXPECT_EQ(exitCodeOf(*broker), 0);
}

TEST_F(BusCommand, NoBrokerIsOneLine)
{
    EXPECT_TRUE(failsWith(run({"bus", "send", "1", "hello"}, m_env), 1,
                          QStringLiteral("sbtool: the bus broker on %1 did not take the message (is \"sbtool bus "
                                         "broker\" running?)")
                              .arg(endpoint(m_sendPort))));
    EXPECT_TRUE(failsWith(run({"bus", "listen", "1"}, m_env), 1,
                          QStringLiteral("sbtool: no bus broker answers on %1 (is \"sbtool bus broker\" running?)")
                              .arg(endpoint(m_recvPort))));
}

TEST_F(BusCommand, BrokerOnATakenPortIsOneLine)
{
    int held = -1;
    const int taken = loopbackPort(&held);
    ASSERT_GT(taken, 0);
    m_env.insert("SERVICE_BUSINESS_BUS_PORT", QString::number(taken));
    const ToolRun result = run({"bus", "broker"}, m_env);
    ::close(held);
    EXPECT_TRUE(failsWith(
        result, 1, QStringLiteral("bus broker: cannot listen on %1: Address already in use").arg(endpoint(taken))));
}

}  // namespace
