// What happens when things go wrong: no broker, a broker that restarts, bad input, taken ports, exit.

#include "bus.h"

#include <zmq_addon.hpp>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using MsgBusNameSpace::Frames;
using test_support::kBusHost;
using test_support::LoopbackBus;
using Clock = std::chrono::steady_clock;

// Each publisher fails within its own timeout, also when several wait for the absent broker at once.
TEST(BusWithoutBroker, PublishersFailPromptlyWhenNoBrokerListens)
{
    ::setenv("SERVICE_BUSINESS_BUS_HOST", kBusHost, 1);
    const int port = LoopbackBus::unusedPort();
    ASSERT_NE(port, 0);
    std::atomic<int> accepted{0}, slow{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < 6; ++t)
        threads.emplace_back([&] {
            const Clock::time_point start = Clock::now();
            accepted += LoopbackBus::publishTo(port, {"1", "nobody takes this"});
            slow += Clock::now() - start >= 3s;  // a hang guard, not a speed target
        });
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(accepted, 0);
    EXPECT_EQ(slow, 0) << "a publisher waited for the others";
}

using BrokerLifecycle = test_support::BusTest;

TEST_F(BrokerLifecycle, PublishingWorksAgainAfterBrokerRestarts)
{
    const int sendPort = m_broker.sendPort();
    const int recvPort = m_broker.recvPort();
    auto early = listen({"1"});
    ASSERT_TRUE(publish("1", "before"));
    ASSERT_EQ(early->receive(5s), (Frames{"1", "before"}));

    m_broker.stop();
    EXPECT_FALSE(publish("1", "while down", 300));

    ASSERT_TRUE(startBus(sendPort, recvPort)) << m_broker.errorString();
    auto subscriber = listen({"1"});
    ASSERT_TRUE(publish("1", "after"));
    // Nothing published while the broker was down was kept to be sent later.
    EXPECT_EQ(subscriber->receive(5s), (Frames{"1", "after"}));
    EXPECT_FALSE(subscriber->receive(200ms));
    // A listener from before the restart subscribes again by itself once it has reconnected.
    bool heard = false;
    for (int i = 0; i < 50 && !heard; ++i) heard = publish("1", "again") && early->receive(100ms).has_value();
    EXPECT_TRUE(heard);
}

TEST_F(BrokerLifecycle, RefusesPortsInUseOrAStartWhileRunningAndReleasesWhatItBound)
{
    EXPECT_FALSE(m_broker.start(kBusHost, 0, 0));
    EXPECT_TRUE(m_broker.isRunning());

    MsgBusNameSpace::Broker second;
    EXPECT_FALSE(second.start(kBusHost, m_broker.sendPort(), 0));
    EXPECT_NE(second.errorString().find(std::to_string(m_broker.sendPort())), std::string::npos)
        << second.errorString();
    EXPECT_FALSE(second.isRunning());

    // Binds a free receiving port, then fails on the serving port: the receiving port must be free again.
    const int free = LoopbackBus::unusedPort();
    ASSERT_FALSE(second.start(kBusHost, free, m_broker.recvPort()));
    MsgBusNameSpace::Broker third;
    EXPECT_TRUE(third.start(kBusHost, free, 0)) << third.errorString();
    EXPECT_TRUE(publish("1", "still serving"));
}

TEST_F(BrokerLifecycle, IgnoresMalformedHandOvers)
{
    auto subscriber = listen({"4"});
    zmq::socket_t rogue(MsgBusNameSpace::MsgBus::GetContext(), zmq::socket_type::dealer);
    rogue.set(zmq::sockopt::linger, 0);
    rogue.connect("tcp://127.0.0.1:" + std::to_string(m_broker.sendPort()));
    const std::uint64_t sequence = 7;
    std::string sequenceFrame(sizeof sequence, '\0');
    std::memcpy(sequenceFrame.data(), &sequence, sizeof sequence);
    // No sequence; a sequence of the wrong size; a sequence without a topic.
    const std::vector<Frames> malformed{{"4"}, {"bad", "4", "x"}, {sequenceFrame}};
    for (const Frames& frames : malformed) {
        std::vector<zmq::const_buffer> parts;
        for (const std::string& frame : frames) parts.push_back(zmq::buffer(frame));
        ASSERT_TRUE(zmq::send_multipart(rogue, parts));
    }

    ASSERT_TRUE(publish("4", "well formed"));
    EXPECT_EQ(subscriber->receive(5s), (Frames{"4", "well formed"}));
    EXPECT_FALSE(subscriber->receive(200ms));
    zmq::message_t answer;
    EXPECT_FALSE(rogue.recv(answer, zmq::recv_flags::dontwait)) << "a malformed hand-over was answered";
}

// A broker too busy to take a message before its Sender gives up on it drops it when it gets to it: the
// Sender has told its caller that the message failed, and it must not arrive later.
TEST_F(BrokerLifecycle, MessageReportedAsFailedIsNeverDeliveredLater)
{
    auto subscriber = listen({"5"});
    m_broker.holdHandOversForTesting(true);
    EXPECT_FALSE(publish("5", "late", 300));
    m_broker.holdHandOversForTesting(false);
    ASSERT_TRUE(publish("5", "in time"));
    EXPECT_EQ(subscriber->receive(5s), (Frames{"5", "in time"})) << "the late one is dropped, not delivered";
    EXPECT_FALSE(subscriber->receive(200ms));
}

using SenderContract = test_support::BusTest;

TEST_F(SenderContract, RefusesEmptyMessagesAndOtherKindsAndTellsTheReplyCallback)
{
    using MsgBusNameSpace::Sender;
    std::vector<bool> outcomes;
    const auto record = [&outcomes](bool taken) { outcomes.push_back(taken); };
    Sender(MsgBusNameSpace::MsgBus::GetContext(), Sender::kHandOver, m_broker.sendPort(), L"").SendMsg({"1", "x"}, -1, record);
    Sender(MsgBusNameSpace::MsgBus::GetContext(), Sender::kHandOver, LoopbackBus::unusedPort(), L"").SendMsg({"1", "x"}, 200, record);
    EXPECT_EQ(outcomes, (std::vector<bool>{true, false}));

    Sender sender(MsgBusNameSpace::MsgBus::GetContext(), Sender::kHandOver, m_broker.sendPort(), L"");
    EXPECT_FALSE(sender.SendMsg({}, -1, nullptr));

    Sender publisherKind(MsgBusNameSpace::MsgBus::GetContext(), ZMQ_PUB, m_broker.sendPort(), L"");
    EXPECT_FALSE(publisherKind.SendMsg({"1", "x"}, -1, nullptr));

    Sender badPort(MsgBusNameSpace::MsgBus::GetContext(), Sender::kHandOver, 70000, L"");
    EXPECT_FALSE(badPort.SendMsg({"1", "x"}, -1, nullptr));
}

TEST_F(SenderContract, WorksOnAContextOfItsOwn)
{
    auto subscriber = listen({"6"});
    zmq::context_t context;
    {
        MsgBusNameSpace::Sender sender(context, MsgBusNameSpace::Sender::kHandOver, m_broker.sendPort(), L"own");
        ASSERT_TRUE(sender.SendMsg({"6", "own context"}, -1, nullptr));
    }  // its connection closes with it, so the context can end
    context.close();
    EXPECT_EQ(subscriber->receive(5s), (Frames{"6", "own context"}));
}

// A process that published, to a live broker and to an absent one, and still has a listener open, exits at
// once: nothing lingers and no thread is left behind. The child runs in a fresh process (threadsafe style).
TEST(BusProcessExit, ExitsPromptlyAfterPublishing)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ::setenv("SERVICE_BUSINESS_BUS_HOST", kBusHost, 1);
            static MsgBusNameSpace::Broker broker;
            if (!broker.start(kBusHost, 0, 0)) std::_Exit(3);
            static MsgBusNameSpace::Subscriber subscriber(MsgBusNameSpace::MsgBus::GetContext(), kBusHost, broker.recvPort());
            if (!subscriber.subscribe("1", 5s)) std::_Exit(4);
            if (!LoopbackBus::publishTo(broker.sendPort(), {"1", "bye"})) std::_Exit(5);
            if (LoopbackBus::publishTo(LoopbackBus::unusedPort(), {"1", "lost"}, 100)) std::_Exit(6);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "");
}

}  // namespace
