// What reaches whom: every message a fresh Sender publishes while a receiver is subscribed reaches it, once,
// in the publisher's order, and only receivers of its exact topic get it.

#include "bus.h"

#include <atomic>
#include <map>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using MsgBusNameSpace::Frames;
using Delivery = test_support::BusTest;

// The body of message i, padded with dots to a notification's size where that matters.
std::string body(int i, std::size_t padding = 0) { return std::to_string(i) + std::string(padding, '.'); }

// Reads count messages and checks that their bodies are body(0), body(1), ... in this order, then that no
// more come.
void expectBodiesInOrder(MsgBusNameSpace::Subscriber& subscriber, const std::string& topic, int count,
                         std::size_t padding = 0)
{
    for (int i = 0; i < count; ++i) {
        const auto message = subscriber.receive(5s);
        ASSERT_TRUE(message) << "message " << i << " of " << count << " never arrived";
        ASSERT_EQ(*message, (Frames{topic, body(i, padding)})) << "at message " << i;
    }
    EXPECT_FALSE(subscriber.receive(200ms)) << "a message arrived twice or from nowhere";
}

TEST_F(Delivery, TenThousandFreshSendersReachBothSubscribersInOrderOnce)
{
    constexpr int kCount = 10000;
    auto first = listen({"3"});
    auto second = listen({"3"});

    for (int i = 0; i < kCount; ++i) ASSERT_TRUE(publish("3", std::to_string(i))) << i;

    expectBodiesInOrder(*first, "3", kCount);
    expectBodiesInOrder(*second, "3", kCount);
}

TEST_F(Delivery, ConcurrentPublishersKeepEachThreadsOrder)
{
    constexpr int kThreads = 4, kPerThread = 500;
    auto subscriber = listen({"5"});
    std::atomic<int> refused{0};
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([this, t, &refused] {
            for (int i = 0; i < kPerThread; ++i) refused += !publish("5", std::to_string(t) + ':' + std::to_string(i));
        });
    for (std::thread& thread : threads) thread.join();
    ASSERT_EQ(refused, 0);

    std::map<int, int> nextOfThread;  // the body is "<thread>:<index>"
    for (int n = 0; n < kThreads * kPerThread; ++n) {
        const auto message = subscriber->receive(5s);
        ASSERT_TRUE(message) << "only " << n << " messages arrived";
        const int thread = std::stoi(message->at(1));
        ASSERT_EQ(std::stoi(message->at(1).substr(message->at(1).find(':') + 1)), nextOfThread[thread]++)
            << "thread " << thread << " out of order";
    }
    EXPECT_FALSE(subscriber->receive(200ms));
}

TEST_F(Delivery, SubscribersHearOnlyTheirExactTopic)
{
    auto seven = listen({"7"});
    auto eight = listen({"8"});

    for (int i = 0; i < 20; ++i) {
        ASSERT_TRUE(publish("78", "not for 7"));  // ZeroMQ alone would match "7" as a prefix
        ASSERT_TRUE(publish("8", std::to_string(i)));
    }

    EXPECT_FALSE(seven->receive(300ms));
    expectBodiesInOrder(*eight, "8", 20);
}

TEST_F(Delivery, KeepsEveryFrameOfAMessage)
{
    auto subscriber = listen({"KM_LAUNCHER_NAME"});
    const Frames frames{"KM_LAUNCHER_NAME", "first", std::string("\0binary\xff", 8), ""};
    ASSERT_TRUE(MsgBusNameSpace::Sender(MsgBusNameSpace::MsgBus::GetContext(), MsgBusNameSpace::Sender::kHandOver,
                                        m_broker.sendPort(), L"launcher")
                    .SendMsg(frames, -1, nullptr));
    EXPECT_EQ(subscriber->receive(5s), frames);
}

// A listener that stops reading costs only itself: once its backlog is full the broker drops its messages
// and counts them, while publishing goes on and the other listeners get every message, in order.
TEST_F(Delivery, FrozenListenerMissesWhatItsBacklogCannotHoldAndTheOthersGetEverything)
{
    constexpr int kBacklog = 1000;
    constexpr int kCount = 100000;
    constexpr std::size_t kPadding = 500;  // so that the socket buffers hold tens of thousands, not all
    m_broker.stop();
    m_broker.setSubscriberBacklog(kBacklog);
    ASSERT_TRUE(startBus()) << m_broker.errorString();
    auto frozen = listen({"9"});
    auto first = listen({"9"});
    auto second = listen({"9"});
    std::thread firstReader([&] { expectBodiesInOrder(*first, "9", kCount, kPadding); });
    std::thread secondReader([&] { expectBodiesInOrder(*second, "9", kCount, kPadding); });

    int refused = 0;
    for (int i = 0; i < kCount; ++i) refused += publish("9", body(i, kPadding)) ? 0 : 1;
    firstReader.join();
    secondReader.join();
    EXPECT_EQ(refused, 0);

    // What the frozen one gets when it reads again is in order, and with the drops makes up the whole.
    int received = 0;
    int last = -1;
    while (const auto message = frozen->receive(1s)) {
        const int body = std::stoi(message->at(1));
        EXPECT_GT(body, last);
        last = body;
        ++received;
    }
    EXPECT_GE(received, kBacklog);
    EXPECT_GT(m_broker.droppedMessages(), 0u);
    EXPECT_EQ(received + m_broker.droppedMessages(), static_cast<std::uint64_t>(kCount));
}

}  // namespace
