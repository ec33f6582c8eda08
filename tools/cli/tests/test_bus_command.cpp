// sbtool bus: a broker on free loopback ports, a listener that prints what reaches its topic (sent by
// "sbtool bus send" or by the service's notifications), and one line when no broker is there.

#include "tool_run.h"

#include "service_business/notifications.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace cli_test;

namespace {

// A loopback port that was free a moment ago, or held open while `keep` is set (a port that is taken).
int loopbackPort(int* keep = nullptr)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    const bool bound = fd >= 0 && ::bind(fd, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
                       ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0 && ::listen(fd, 1) == 0;
    if (keep && bound)
        *keep = fd;
    else if (fd >= 0)
        ::close(fd);
    return bound ? ntohs(address.sin_port) : 0;
}

class BusCommand : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_sendPort > 0 && m_recvPort > 0 && m_sendPort != m_recvPort);
        m_env.insert("SERVICE_BUSINESS_BUS_HOST", "127.0.0.1");
        m_env.insert("SERVICE_BUSINESS_BUS_PORT", QString::number(m_sendPort));
        m_env.insert("SERVICE_BUSINESS_BUS_SUB_PORT", QString::number(m_recvPort));
    }
    void TearDown() override
    {
        for (const auto& process : m_started)
            if (process->state() != QProcess::NotRunning)
                exitCodeOf(*process, 0);
    }
    QByteArray endpoint(int port) const { return "tcp://127.0.0.1:" + QByteArray::number(port); }
    ToolRun tool(const QStringList& args) const { return runProgram(QStringLiteral(SBTOOL), args, m_env); }
    // sbtool in the background, once its first line on the channel is `ready`.
    QProcess* start(const QStringList& args, QProcess::ProcessChannel channel, const QByteArray& ready)
    {
        m_started.push_back(std::make_unique<QProcess>());
        QProcess* process = m_started.back().get();
        process->setProcessEnvironment(m_env);
        process->start(QStringLiteral(SBTOOL), args);
        EXPECT_EQ(nextLine(*process, channel), ready);
        return process;
    }
    QProcess* listen(const QByteArray& topic, const QStringList& more = {})
    {
        return start(QStringList{"bus", "listen", topic} + more, QProcess::StandardError,
                     "listening for \"" + topic + "\" on " + endpoint(m_recvPort));
    }

    int m_sendPort = loopbackPort();
    int m_recvPort = loopbackPort();
    QProcessEnvironment m_env = QProcessEnvironment::systemEnvironment();
    std::vector<std::unique_ptr<QProcess>> m_started;
};

TEST_F(BusCommand, ListenerPrintsSentTextsAndServiceNotificationsAndBothStopOnSignals)
{
    QProcess* broker = start({"bus", "broker"}, QProcess::StandardOutput,
                             "bus broker: taking messages on " + endpoint(m_sendPort) + ", serving subscribers on " +
                                 endpoint(m_recvPort));
    QProcess* listener = listen("1", {"--count", "2"});
    // Topic 12 is another profile's: its listener must not see it.
    for (const QStringList& message : {QStringList{"12", "another profile"}, QStringList{"1", "{\"name\":\"closeApp\"}"},
                                       QStringList{"1", "两行\n文字"}}) {
        const ToolRun sent = tool(QStringList{"bus", "send"} + message);
        EXPECT_EQ(sent.exitCode, 0) << sent.err.constData();
    }
    EXPECT_EQ(exitCodeOf(*listener), 0);
    EXPECT_EQ(listener->readAllStandardOutput(), "1\t{\"name\":\"closeApp\"}\n1\t两行\\n文字\n");

    // The service's own notifications reach a listener through the same broker.
    QProcess* service = listen("7", {"--count", "1"});
    for (const QString& name : m_env.keys())
        if (name.startsWith("SERVICE_BUSINESS_BUS"))
            qputenv(name.toUtf8().constData(), m_env.value(name).toUtf8());
    service_business::utility::printOrderCallBack(7, QStringLiteral("打印完成"), true);
    EXPECT_EQ(exitCodeOf(*service), 0);
    EXPECT_EQ(service->readAllStandardOutput(), "7\t{\"arguments\":[\"打印完成\",true],\"name\":\"systemPrintCompleted\","
                                                "\"type\":\"notification\"}\n");

    QProcess* idle = listen("1");
    ::kill(static_cast<pid_t>(idle->processId()), SIGINT);
    EXPECT_EQ(exitCodeOf(*idle), 0);
    ::kill(static_cast<pid_t>(broker->processId()), SIGTERM);
    EXPECT_EQ(exitCodeOf(*broker), 0);
}

TEST_F(BusCommand, NoBrokerOrATakenPortIsOneLine)
{
    const ToolRun send = tool({"bus", "send", "1", "hello"});
    EXPECT_EQ(send.exitCode, 1);
    EXPECT_EQ(send.err,
              "sbtool: the bus broker on " + endpoint(m_sendPort) +
                  " did not take the message (is \"sbtool bus broker\" running?)\n");
    const ToolRun listen = tool({"bus", "listen", "1"});
    EXPECT_EQ(listen.exitCode, 1);
    EXPECT_EQ(listen.err,
              "sbtool: no bus broker answers on " + endpoint(m_recvPort) + " (is \"sbtool bus broker\" running?)\n");

    int held = -1;
    const int taken = loopbackPort(&held);
    ASSERT_GT(taken, 0);
    m_env.insert("SERVICE_BUSINESS_BUS_PORT", QString::number(taken));
    const ToolRun broker = tool({"bus", "broker"});
    ::close(held);
    EXPECT_EQ(broker.exitCode, 1);
    EXPECT_EQ(broker.err, "bus broker: cannot listen on " + endpoint(taken) + ": Address already in use\n");
}

}  // namespace
