// sbtool bus: the client's message bus: its broker, a listener on a topic, and publishing a message.

#include "commands.h"

#include "msgbus/broker.h"
#include "msgbus/msgbus.h"
#include "msgbus/subscriber.h"
#include "service_business/sender.h"
#include "utility_business/config.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <optional>
#include <string>

#include <pthread.h>

namespace sbtool {
namespace {

using namespace std::chrono_literals;
using utility_business::Config;

const char usageText[] =
    "usage: sbtool bus broker\n"
    "       sbtool bus listen TOPIC [--count N]\n"
    "       sbtool bus send TOPIC TEXT\n"
    "\n"
    "The client's message bus: its processes publish to one broker, which passes each message on\n"
    "to the listeners of its topic (a profile's id, or KM_LAUNCHER_NAME for the launcher). The\n"
    "broker takes messages on port SERVICE_BUSINESS_BUS_PORT (25360) and serves listeners on\n"
    "SERVICE_BUSINESS_BUS_SUB_PORT (that port + 1), on host SERVICE_BUSINESS_BUS_HOST (127.0.0.1).\n"
    "\n"
    "  broker           runs the broker in the foreground until Ctrl-C\n"
    "  listen TOPIC     prints each message of TOPIC as it arrives, one line each: the topic, a tab\n"
    "                   and the body (a line break in it shown as \\n); runs until Ctrl-C\n"
    "  --count N        stops after N messages\n"
    "  send TOPIC TEXT  publishes TEXT to TOPIC as the service publishes its notifications\n"
    "\n"
    "exit codes: 0 done, 1 the broker cannot start, cannot be reached or did not take the message,\n"
    "            2 the command line is wrong\n";

QString endpoint(int port)
{
    return QStringLiteral("tcp://%1:%2").arg(QLatin1String(Config::get()->serverHost())).arg(port);
}

// One line per message, whatever its body holds.
std::string messageLine(const MsgBusNameSpace::Frames& frames)
{
    std::string line;
    for (size_t i = 0; i < frames.size(); ++i) {
        if (i > 0)
            line += '\t';
        for (const char c : frames[i]) {
            if (c == '\n')
                line += "\\n";
            else if (c == '\r')
                line += "\\r";
            else
                line += c;
        }
    }
    return line;
}

int runBroker(const QStringList& args)
{
    if (!args.isEmpty())
        return usageError("bus", QStringLiteral("unexpected argument \"%1\"").arg(args.first()));
    const Config* config = Config::get();
    return MsgBusNameSpace::serveBroker(config->serverHost(), config->serverSendPort(), config->serverRecvPort());
}

int runListen(const QStringList& args)
{
    OptionReader options(args);
    QString countText;
    const bool hasCount = options.take(QStringLiteral("--count"), &countText);
    if (!options.error().isEmpty())
        return usageError("bus", options.error());
    const QStringList rest = options.rest();
    if (rest.size() != 1)
        return usageError("bus", QStringLiteral("\"listen\" takes one TOPIC"));
    bool countOk = true;
    const int count = hasCount ? countText.toInt(&countOk) : 0;
    if (!countOk || (hasCount && count < 1))
        return usageError("bus", QStringLiteral("--count must be a whole number from 1"));

    // Ctrl-C and SIGTERM are taken between receives rather than interrupting one. Blocked before the bus
    // context exists, so that its threads inherit the mask and the signal stays pending for this loop.
    sigset_t stopSignals;
    sigemptyset(&stopSignals);
    sigaddset(&stopSignals, SIGINT);
    sigaddset(&stopSignals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &stopSignals, nullptr);

    const int port = Config::get()->serverRecvPort();
    const std::string topic = rest.first().toStdString();
    try {
        MsgBusNameSpace::Subscriber listener(MsgBusNameSpace::MsgBus::GetContext(), Config::get()->serverHost(), port);
        if (!listener.subscribe(topic, 3s))
            return fail(QStringLiteral("no bus broker answers on %1 (is \"sbtool bus broker\" running?)")
                            .arg(endpoint(port)));
        std::fprintf(stderr, "listening for \"%s\" on %s\n", topic.c_str(), endpoint(port).toUtf8().constData());
        const timespec noWait = {0, 0};
        for (int received = 0; !hasCount || received < count;) {
            if (sigtimedwait(&stopSignals, nullptr, &noWait) > 0)
                break;
            const std::optional<MsgBusNameSpace::Frames> message = listener.receive(200ms);
            if (!message)
                continue;
            std::printf("%s\n", messageLine(*message).c_str());
            std::fflush(stdout);
            ++received;
        }
    } catch (const zmq::error_t& error) {
        return fail(QStringLiteral("cannot listen on %1: %2").arg(endpoint(port), QString::fromUtf8(error.what())));
    }
    return ExitOk;
}

int runSend(const QStringList& args)
{
    if (args.size() != 2)
        return usageError("bus", QStringLiteral("\"send\" takes a TOPIC and a TEXT"));
    service_business::Sender sender;
    if (!sender.sendData(args.at(0).toStdString(), args.at(1).toStdString()))
        return fail(QStringLiteral("the bus broker on %1 did not take the message (is \"sbtool bus broker\" running?)")
                        .arg(endpoint(Config::get()->serverSendPort())));
    return ExitOk;
}

int runBus(const QStringList& args)
{
    QStringList rest = args;
    const QString action = rest.isEmpty() ? QString() : rest.takeFirst();
    if (action == QLatin1String("broker"))
        return runBroker(rest);
    if (action == QLatin1String("listen"))
        return runListen(rest);
    if (action == QLatin1String("send"))
        return runSend(rest);
    if (action.isEmpty())
        return usageError("bus", QStringLiteral("no action given"));
    return usageError("bus", QStringLiteral("unknown action \"%1\"").arg(action));
}

}  // namespace

const Command busCommand = {"bus", "run the bus broker, listen to a topic, publish a message", usageText, runBus};

}  // namespace sbtool
