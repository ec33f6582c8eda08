// Speed of the engine's entry functions on large everyday jobs: a 20-item online order and a 30-order
// summary, both on 80 mm paper with two copies. Reports receipts per second and bytes per receipt.
// Beside them, in the same run: the 20-item order at 80 mm with one copy against the cost of parsing and
// freeing its three JSON texts with cJSON alone (the floor of any receipt), and the growth of the order and
// of the summary from 100 to 100,000 items, with the time per item and the peak memory of the process.

#include "receipt_engine/receipt_engine.h"

#include <benchmark/benchmark.h>
#include <cjson/cJSON.h>

#include <sys/resource.h>

#include <chrono>
#include <cstdlib>
#include <string>

namespace {

const char kRestaurant[] =
    R"({"id":20731,"name":"蜀香阁川菜馆","phone":"02864381276","address":"成都市武侯区玉林南路47号"})";

const char* const kDishes[] = {"宫保鸡丁",   "水煮牛肉（大份微辣）",           "麻婆豆腐", "回锅肉", "鱼香肉丝",
                               "干煸四季豆", "酸菜鱼配手工红薯粉和秘制辣椒油", "夫妻肺片", "口水鸡", "担担面"};

std::string onlineOrder(int items)
{
    std::string order = R"({"id":"240315114200173","general":{"daySn":17,"createdTime":1710474138,"payment":"online",
        "isBooked":true,"bookedTime":1710477000,"remark":"少放辣，不要香菜，到了打电话"},
        "consignee":{"name":"王女士","phones":["13812345678","02885561234"],"address":"武侯区科华北路62号力宝大厦北楼1203室"},
        "detail":{"accounting":{"receivable":600,"discount":20,"receipt":580},"groups":[{"name":"1号篮子","type":"normal","items":[)";
    for (int i = 0; i < items; i++) {
        order += i ? "," : "";
        order += R"({"name":")" + std::string(kDishes[i % 10]) + R"(","price":)" + std::to_string(12 + i) +
                 (i % 3 ? ".5" : "") + R"(,"quantity":)" + std::to_string(1 + i % 3) + "}";
    }
    order += R"(]},{"name":"其他","type":"extra","items":[{"name":"餐盒费","price":1,"quantity":6}]}]},
        "misc":{"discountGroup":{"name":"平台补贴","type":"discount","items":[{"name":"新用户立减","price":-5,"quantity":1,"displayQuantity":false}]}}})";
    return order;
}

std::string summary(int orders)
{
    std::string text = R"({"beginTime":1710432000,"endTime":1710518399,"digest":{"orderCount":31,"validOrderCount":30,
        "invalidOrderCount":1,"receivable":3210.5,"discount":120,"receipt":3090.5,"cashReceipt":890,"onlineReceipt":2200.5},"items":[)";
    for (int i = 0; i < orders; i++) {
        text += i ? "," : "";
        text += R"({"orderId":"2403151142)" + std::to_string(100000 + i) + R"(","daySn":)" + std::to_string(i + 1) +
                R"(,"status":"valid","payment":")" + (i % 3 ? "online" : "cash") + R"(","createdTime":)" +
                std::to_string(1710461520 + i * 1500) + R"(,"accounting":{"receivable":)" + std::to_string(80 + i) +
                R"(.5,"discount":4,"receipt":)" + std::to_string(76 + i) + ".5}}";
    }
    return text + "]}";
}

using Entry = EngineError (*)(uint8_t**, uint32_t*, const char*, const char*, const char*);

void formatLoop(benchmark::State& state, Entry entry, const std::string& input, const char* settings)
{
    uint32_t bytes = 0;
    for (auto _ : state) {
        uint8_t* out = nullptr;
        uint32_t length = 0;
        if (entry(&out, &length, kRestaurant, input.c_str(), settings) != ENGINE_OK) {
            state.SkipWithError("the engine refused the input");
            break;
        }
        benchmark::DoNotOptimize(out);
        bytes = length;
        engine_free(&out);
    }
    state.counters["receipts_per_second"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
    state.counters["bytes_per_receipt"] = bytes;
}

void OnlineOrder20Items80mm2Copies(benchmark::State& state)
{
    setenv("TZ", "Asia/Shanghai", 1);
    formatLoop(
        state, format_online_order, onlineOrder(20),
        R"({"number_of_copies":2,"isPrintBarcodeEnabled":true,"lines_between_copies":"middle","style":"normal","width":"80mm"})");
}
BENCHMARK(OnlineOrder20Items80mm2Copies);

void Summary30Orders80mm2Copies(benchmark::State& state)
{
    setenv("TZ", "Asia/Shanghai", 1);
    formatLoop(state, format_summary, summary(30), R"({"number_of_copies":2,"width":"80mm"})");
}
BENCHMARK(Summary30Orders80mm2Copies);

const char kOneCopy80mm[] =
    R"({"number_of_copies":1,"isPrintBarcodeEnabled":true,"lines_between_copies":"middle","style":"normal","width":"80mm"})";

// The receipt the issue measured: 20 items, 80 mm, one copy.
void OnlineOrder20Items80mm1Copy(benchmark::State& state)
{
    setenv("TZ", "Asia/Shanghai", 1);
    formatLoop(state, format_online_order, onlineOrder(20), kOneCopy80mm);
}
BENCHMARK(OnlineOrder20Items80mm1Copy);

// The same three texts parsed and freed by cJSON alone: what any receipt of them costs at least.
void CJsonParseAlone20Items(benchmark::State& state)
{
    const std::string order = onlineOrder(20);
    const char* texts[] = {kRestaurant, order.c_str(), kOneCopy80mm};
    for (auto _ : state) {
        for (const char* text : texts) {
            cJSON* tree = cJSON_Parse(text);
            benchmark::DoNotOptimize(tree);
            cJSON_Delete(tree);
        }
    }
    state.counters["parses_per_second"] = benchmark::Counter(double(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(CJsonParseAlone20Items);

// Peak resident memory of the process so far, in MiB (Linux reports ru_maxrss in KiB). It never goes down:
// for each row's own peak run the row alone (--benchmark_filter='OrderGrowth/10000$').
double peakMiB()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_maxrss) / 1024.0;
}

void growthLoop(benchmark::State& state, Entry entry, const std::string& input, const char* settings)
{
    const auto items = state.range(0);
    uint32_t bytes = 0;
    std::chrono::steady_clock::duration spent{};
    for (auto _ : state) {
        uint8_t* out = nullptr;
        uint32_t length = 0;
        auto start = std::chrono::steady_clock::now();
        EngineError rc = entry(&out, &length, kRestaurant, input.c_str(), settings);
        spent += std::chrono::steady_clock::now() - start;
        if (rc != ENGINE_OK) {
            state.SkipWithError(engine_error_text(rc));
            break;
        }
        bytes = length;
        engine_free(&out);
    }
    state.counters["ns_per_item"] = double(std::chrono::duration_cast<std::chrono::nanoseconds>(spent).count()) /
                                    (double(state.iterations()) * double(items));
    state.counters["input_MiB"] = double(input.size()) / (1 << 20);
    state.counters["output_MiB"] = double(bytes) / (1 << 20);
    state.counters["peak_MiB"] = peakMiB();
}

void OrderGrowth(benchmark::State& state)
{
    setenv("TZ", "Asia/Shanghai", 1);
    growthLoop(state, format_online_order, onlineOrder(int(state.range(0))), kOneCopy80mm);
}
BENCHMARK(OrderGrowth)->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void SummaryGrowth(benchmark::State& state)
{
    setenv("TZ", "Asia/Shanghai", 1);
    growthLoop(state, format_summary, summary(int(state.range(0))), R"({"number_of_copies":1,"width":"80mm"})");
}
BENCHMARK(SummaryGrowth)->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
