// sbtool bus: a broker on free loopback ports, and a listener that prints what reaches its topic (sent by
// "sbtool bus send" or by the service's notifications).

#include "tool_run.h"
#include "service_business/notifications.h"
#include "virtual_printer/virtual_printer.h"

#include <gtest/gtest.h>
#include <csignal>
#include <memory>

using namespace cli_test;

namespace {

// A listener on a loopback port of its own: a virtual printer, whose port is free again once it is gone.
std::unique_ptr<virtual_printer::VirtualPrinter> listener()
{
    virtual_printer::Options options;
    options.outDir = QDir::tempPath().toStdString();
    auto printer = std::make_unique<virtual_printer::VirtualPrinter>(options);
    std::string error;
    EXPECT_TRUE(printer->start(&error)) << error;
    return printer;
}

class BusCommand : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_sendPort > 0 && m_recvPort > 0 && m_sendPort != m_recvPort);
        // For sbtool and for the service's own notifications alike.
        qputenv("SERVICE_BUSINESS_BUS_HOST", "127.0.0.1");
        qputenv("SERVICE_BUSINESS_BUS_PORT", QByteArray::number(m_sendPort));
        qputenv("SERVICE_BUSINESS_BUS_SUB_PORT", QByteArray::number(m_recvPort));
    }
    void TearDown() override
    {
        for (const auto& process : m_started)
            exitCodeOf(*process, 0);
    }
    QByteArray endpoint(int port) const { return "tcp://127.0.0.1:" + QByteArray::number(port); }
    // sbtool's exit code and what it said on stderr.
    static QByteArray tool(const QStringList& args)
    {
        const ToolRun run = runProgram(QStringLiteral(SBTOOL), args);
        return QByteArray::number(run.exitCode) + ' ' + run.err;
    }
    // sbtool in the background, once its first line on the channel is `ready`.
    QProcess* start(const QStringList& args, QProcess::ProcessChannel channel, const QByteArray& ready)
    {
        m_started.push_back(std::make_unique<QProcess>());
        m_started.back()->start(QStringLiteral(SBTOOL), args);
        EXPECT_EQ(nextLine(*m_started.back(), channel), ready);
        return m_started.back().get();
    }
    QProcess* listen(const QByteArray& topic, const QStringList& more = {})
    {
        return start(QStringList{"bus", "listen", topic} + more, QProcess::StandardError,
                     "listening for \"" + topic + "\" on " + endpoint(m_recvPort));
    }

    int m_sendPort = listener()->port();
    int m_recvPort = listener()->port();
    std::vector<std::unique_ptr<QProcess>> m_started;
};

TEST_F(BusCommand, ListenerPrintsSentTextsAndServiceNotificationsAndBothStopOnSignals)
{
    QProcess* broker = start({"bus", "broker"}, QProcess::StandardOutput,
                             "bus broker: taking messages on " + endpoint(m_sendPort) + ", serving subscribers on " + endpoint(m_recvPort));
    QProcess* listener = listen("1", {"--count", "2"});
    // Topic 12 is another profile's: its listener must not see it.
    EXPECT_EQ(tool({"bus", "send", "12", "another profile"}), "0 ");
    EXPECT_EQ(tool({"bus", "send", "1", "{\"name\":\"closeApp\"}"}), "0 ");
    EXPECT_EQ(tool({"bus", "send", "1", "两行\n文字"}), "0 ");
    EXPECT_EQ(exitCodeOf(*listener), 0);
    EXPECT_EQ(listener->readAllStandardOutput(), "1\t{\"name\":\"closeApp\"}\n1\t两行\\n文字\n");

    QProcess* service = listen("7", {"--count", "1"});
    service_business::utility::printOrderCallBack(7, QStringLiteral("打印完成"), true);
    EXPECT_EQ(exitCodeOf(*service), 0);
    EXPECT_EQ(service->readAllStandardOutput(),
              "7\t{\"arguments\":[\"打印完成\",true],\"name\":\"systemPrintCompleted\",\"type\":\"notification\"}\n");

    QProcess* idle = listen("1");
    ::kill(static_cast<pid_t>(idle->processId()), SIGINT);
    EXPECT_EQ(exitCodeOf(*idle), 0);
    ::kill(static_cast<pid_t>(broker->processId()), SIGTERM);
    EXPECT_EQ(exitCodeOf(*broker), 0);
}

// Without a broker, send and listen are rows of the transcripts.
TEST_F(BusCommand, BrokerOnATakenPortIsOneLine)
{
    const auto taken = listener();
    qputenv("SERVICE_BUSINESS_BUS_PORT", QByteArray::number(taken->port()));
    EXPECT_EQ(tool({"bus", "broker"}), "1 bus broker: cannot listen on " + endpoint(taken->port()) + ": Address already in use\n");
}

}  // namespace
