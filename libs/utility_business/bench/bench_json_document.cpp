// Costs of the operations that every settings write goes through: change a value, print, parse.
#include "utility_business/json_document.h"

#include <benchmark/benchmark.h>

using utility_business::JsonDocument;

namespace {

// An application settings document with `printers` printers and as many profiles.
JsonDocument settingsDocument(int printers)
{
    JsonDocument doc;
    for (int i = 0; i < printers; ++i) {
        const QString id = QString::number(i);
        doc.addNode(QStringLiteral("{\"id\":%1,\"name\":\"POS-80 %1\",\"model\":\"POS-80 Series\",\"width\":\"80mm\","
                                   "\"connectionType\":\"network\",\"portName\":\"IP_10.0.0.%1\",\"hostAddress\":"
                                   "\"10.0.0.%1\",\"port\":\"9100\",\"connected\":true,\"type\":2}")
                        .arg(i),
                    {"print", "printers", id});
        doc.setString({"profiles", id, "username"}, QStringLiteral("shop %1").arg(i));
    }
    return doc;
}

void BM_SetValueDeepInDocument(benchmark::State& state)
{
    JsonDocument doc = settingsDocument(static_cast<int>(state.range(0)));
    const QString last = QString::number(state.range(0) - 1);
    int value = 0;
    for (auto _ : state) benchmark::DoNotOptimize(doc.setInt({"print", "printers", last, "id"}, ++value));
}
BENCHMARK(BM_SetValueDeepInDocument)->Arg(4)->Arg(64);

void BM_PrintIndented(benchmark::State& state)
{
    const JsonDocument doc = settingsDocument(static_cast<int>(state.range(0)));
    for (auto _ : state) benchmark::DoNotOptimize(doc.toString());
}
BENCHMARK(BM_PrintIndented)->Arg(4)->Arg(64);

void BM_Parse(benchmark::State& state)
{
    const QString text = settingsDocument(static_cast<int>(state.range(0))).toString();
    for (auto _ : state) {
        JsonDocument doc(text);
        benchmark::DoNotOptimize(doc.root());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * text.toUtf8().size());
}
BENCHMARK(BM_Parse)->Arg(4)->Arg(64);

}  // namespace

BENCHMARK_MAIN();
