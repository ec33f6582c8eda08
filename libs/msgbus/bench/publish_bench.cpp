// Publishing as the service does it (a fresh Sender per message) through a broker on loopback: publishes per
// second, and the median and 99th percentile time of one publish. The argument is the number of
// subscribers listening on the topic, each draining on a thread of its own.

#include "msgbus/broker.h"
#include "msgbus/msgbus.h"
#include "msgbus/subscriber.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <memory>
#include <thread>
#include <vector>

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
constexpr const char* kHost = "127.0.0.1";

class Listeners {
public:
    Listeners(int count, int port)
    {
        for (int i = 0; i < count; ++i) {
            std::atomic<bool> ready{false};
            m_threads.emplace_back([this, port, &ready] {
                MsgBusNameSpace::Subscriber subscriber(MsgBusNameSpace::MsgBus::GetContext(), kHost, port);
                subscriber.subscribe("1", 5s);
                ready = true;
                while (!m_stop) subscriber.receive(50ms);
            });
            while (!ready) std::this_thread::sleep_for(1ms);
        }
    }
    ~Listeners()
    {
        m_stop = true;
        for (std::thread& thread : m_threads) thread.join();
    }

private:
    std::atomic<bool> m_stop{false};
    std::vector<std::thread> m_threads;
};

double percentile(std::vector<double>& samples, double fraction)
{
    if (samples.empty()) return 0;
    const std::size_t index = std::min(samples.size() - 1, static_cast<std::size_t>(fraction * samples.size()));
    std::nth_element(samples.begin(), samples.begin() + index, samples.end());
    return samples[index];
}

void BM_PublishThroughFreshSender(benchmark::State& state)
{
    ::setenv("SERVICE_BUSINESS_BUS_HOST", kHost, 1);
    MsgBusNameSpace::Broker broker;
    if (!broker.start(kHost, 0, 0)) {
        state.SkipWithError(broker.errorString().c_str());
        return;
    }
    Listeners listeners(static_cast<int>(state.range(0)), broker.recvPort());
    const MsgBusNameSpace::Frames frames{"1", R"({"arguments":[4],"name":"printerHasChanged","type":"notification"})"};

    std::vector<double> micros;
    std::int64_t failed = 0;
    for (auto _ : state) {
        const Clock::time_point start = Clock::now();
        MsgBusNameSpace::Sender sender(MsgBusNameSpace::MsgBus::GetContext(), MsgBusNameSpace::Sender::kHandOver,
                                       broker.sendPort(), L"");
        failed += sender.SendMsg(frames, -1, nullptr) ? 0 : 1;
        micros.push_back(std::chrono::duration<double, std::micro>(Clock::now() - start).count());
    }
    state.SetItemsProcessed(state.iterations());
    state.counters["failed"] = static_cast<double>(failed);
    state.counters["p50_us"] = percentile(micros, 0.50);
    state.counters["p99_us"] = percentile(micros, 0.99);
}
BENCHMARK(BM_PublishThroughFreshSender)->Arg(0)->Arg(2)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
