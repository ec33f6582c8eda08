#pragma once
// A broker on loopback with free ports, and helpers to publish through fresh Senders and to listen.

#include "msgbus/broker.h"
#include "msgbus/msgbus.h"
#include "msgbus/subscriber.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>

namespace bus_test {

using namespace std::chrono_literals;
using MsgBusNameSpace::Frames;

inline constexpr const char* kHost = "127.0.0.1";

// Publishes one message the way the service does: a fresh Sender on the shared context, one SendMsg.
inline bool publish(int port, const Frames& frames, int timeoutMs = -1)
{
    MsgBusNameSpace::Sender sender(MsgBusNameSpace::MsgBus::GetContext(), MsgBusNameSpace::Sender::kHandOver, port, L"");
    return sender.SendMsg(frames, timeoutMs, nullptr);
}

// A port on loopback that nothing listens on now (bound once by a broker, then released).
inline int unusedPort()
{
    MsgBusNameSpace::Broker probe;
    if (!probe.start(kHost, 0, 0)) return 0;
    return probe.sendPort();
}

class BusTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { ::setenv("SERVICE_BUSINESS_BUS_HOST", kHost, 1); }

    void SetUp() override { ASSERT_TRUE(m_broker.start(kHost, 0, 0)) << m_broker.errorString(); }

    bool publish(const std::string& topic, const std::string& body, int timeoutMs = -1)
    {
        return bus_test::publish(m_broker.sendPort(), {topic, body}, timeoutMs);
    }

    // A subscriber on the topic whose subscription the broker has confirmed.
    std::unique_ptr<MsgBusNameSpace::Subscriber> listen(const std::string& topic)
    {
        auto subscriber = std::make_unique<MsgBusNameSpace::Subscriber>(MsgBusNameSpace::MsgBus::GetContext(), kHost,
                                                                         m_broker.recvPort());
        EXPECT_TRUE(subscriber->subscribe(topic, 5s)) << "subscription to " << topic << " not confirmed";
        return subscriber;
    }

    MsgBusNameSpace::Broker m_broker;
};

}  // namespace bus_test
