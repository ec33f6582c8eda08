// What reaches whom: every message a fresh Sender publishes while a receiver is subscribed reaches it, once,
// in the publisher's order, and only receivers of its exact topic get it.

#include "bus_fixture.h"

#include <map>
#include <thread>
#include <vector>

namespace bus_test {
namespace {

using Delivery = BusTest;

// Reads count messages and checks that their bodies are "0", "1", ... in this order, then that no more come.
void expectBodiesInOrder(MsgBusNameSpace::Subscriber& subscriber, const std::string& topic, int count)
{
    for (int i = 0; i < count; ++i) {
        const auto message = subscriber.receive(5s);
        ASSERT_TRUE(message) << "message " << i << " of " << count << " never arrived";
        ASSERT_EQ(*message, (Frames{topic, std::to_string(i)})) << "at message " << i;
    }
    EXPECT_FALSE(subscriber.receive(200ms)) << "a message arrived twice or from nowhere";
}

TEST_F(Delivery, TenThousandFreshSendersReachBothSubscribersInOrderOnce)
{
    constexpr int kCount = 10000;
    auto first = listen("3");
    auto second = listen("3");

    int refused = 0;
    for (int i = 0; i < kCount; ++i) refused += publish("3", std::to_string(i)) ? 0 : 1;
    ASSERT_EQ(refused, 0);

    expectBodiesInOrder(*first, "3", kCount);
    expectBodiesInOrder(*second, "3", kCount);
}

TEST_F(Delivery, ConcurrentPublishersKeepEachThreadsOrder)
{
    constexpr int kThreads = 4;
    constexpr int kPerThread = 500;
    auto subscriber = listen("5");

    std::vector<std::thread> threads;
    std::vector<int> refused(kThreads, 0);
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([this, t, &refused] {
            for (int i = 0; i < kPerThread; ++i) {
                if (!publish("5", std::to_string(t) + ':' + std::to_string(i))) ++refused[t];
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    for (int t = 0; t < kThreads; ++t) ASSERT_EQ(refused[t], 0) << "thread " << t;

    std::map<int, int> nextOfThread;
    for (int n = 0; n < kThreads * kPerThread; ++n) {
        const auto message = subscriber->receive(5s);
        ASSERT_TRUE(message) << "only " << n << " messages arrived";
        const std::string& body = message->at(1);
        const int thread = std::stoi(body.substr(0, body.find(':')));
        const int index = std::stoi(body.substr(body.find(':') + 1));
        ASSERT_EQ(index, nextOfThread[thread]++) << "thread " << thread << " out of order";
    }
    EXPECT_FALSE(subscriber->receive(200ms));
}

TEST_F(Delivery, SubscribersHearOnlyTheirExactTopic)
{
    auto seven = listen("7");
    auto eight = listen("8");

    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(publish("78", "not for 7"));  // ZeroMQ alone would match "7" as a prefix
        ASSERT_TRUE(publish("8", std::to_string(i)));
    }

    EXPECT_FALSE(seven->receive(300ms));
    expectBodiesInOrder(*eight, "8", 20);
}

TEST_F(Delivery, KeepsEveryFrameOfAMessage)
{
    auto subscriber = listen("KM_LAUNCHER_NAME");
    const Frames frames{"KM_LAUNCHER_NAME", "first", std::string("\0binary\xff", 8), ""};
    ASSERT_TRUE(MsgBusNameSpace::Sender(MsgBusNameSpace::MsgBus::GetContext(), MsgBusNameSpace::Sender::kHandOver,
                                        m_broker.sendPort(), L"launcher")
                    .SendMsg(frames, -1, nullptr));
    EXPECT_EQ(subscriber->receive(5s), frames);
}

// A receiver that stops reading is never skipped: once its backlog is full, publishing stalls and reports
// false, and everything reported as taken is still delivered to it, in order.
TEST_F(Delivery, StalledSubscriberHoldsBackPublishersInsteadOfLosingMessages)
{
    constexpr int kBacklog = 200;
    m_broker.stop();
    m_broker.setSubscriberBacklog(kBacklog);
    ASSERT_TRUE(m_broker.start(kHost, 0, 0)) << m_broker.errorString();
    auto stalled = listen("9");

    // Large bodies, so that the loopback buffers between broker and subscriber fill after a few thousand
    // messages rather than a hundred thousand; the limit only keeps a broken broker from looping forever.
    const auto body = [](int i) { return std::to_string(i) + ':' + std::string(4096, '.'); };
    int taken = 0;
    constexpr int kLimit = 20000;
    while (taken < kLimit && publish("9", body(taken), 300)) ++taken;
    ASSERT_LT(taken, kLimit) << "the broker never held back for a subscriber that does not read";
    ASSERT_GE(taken, kBacklog);

    for (int i = 0; i < taken; ++i) {
        const auto message = stalled->receive(5s);
        ASSERT_TRUE(message) << "message " << i << " of " << taken << " was lost";
        ASSERT_EQ(message->at(1), body(i));
    }
    // The refused message was already with the broker and may follow late, but only that one.
    if (const auto late = stalled->receive(500ms)) {
        EXPECT_EQ(late->at(1), body(taken));
    }
    EXPECT_FALSE(stalled->receive(200ms));
}

}  // namespace
}  // namespace bus_test
