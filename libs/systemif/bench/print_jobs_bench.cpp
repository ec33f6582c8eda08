// Raw jobs through a private cupsd to the virtual printer: how many jobs a print worker gets through per
// second, submission to completion as printBySystemPrinter waits for it, and what listing the printers
// costs.
#include "systemif/print.h"

#include "cupsd_harness.h"
#include "virtual_printer/virtual_printer.h"

#include <benchmark/benchmark.h>

#include <QTemporaryDir>

#include <chrono>
#include <memory>

using namespace systemif::print;
using test_support::CupsdHarness;

namespace {

// One scheduler and one virtual printer for the whole run, with `queues` raw queues to it.
struct Bench {
    CupsdHarness cups;
    QTemporaryDir out;
    std::unique_ptr<virtual_printer::VirtualPrinter> printer;
    QString error;

    bool start(int queues)
    {
        error = CupsdHarness::unavailableReason();
        if (!error.isEmpty() || !cups.start()) {
            error = error.isEmpty() ? cups.error() : error;
            return false;
        }
        virtual_printer::Options options;
        options.outDir = out.path().toStdString();
        printer = std::make_unique<virtual_printer::VirtualPrinter>(options);
        std::string failure;
        if (!printer->start(&failure)) {
            error = QString::fromStdString(failure);
            return false;
        }
        for (int i = 0; i < queues; ++i) {
            if (!cups.addRawQueue(QStringLiteral("Bench%1").arg(i), CupsdHarness::socketUri(printer->port()))) {
                error = cups.error();
                return false;
            }
        }
        return true;
    }
};

void RawJobThroughCups(benchmark::State& state)
{
    Bench bench;
    if (!bench.start(1)) {
        state.SkipWithError(bench.error.toStdString().c_str());
        return;
    }
    const QByteArray receipt(static_cast<int>(state.range(0)), '\x1b');
    for (auto _ : state) {
        bool done = false;
        PrintServics::printBySystemPrinter("Bench0", "receipt", Document(receipt),
                                           [&](int, const QString&, bool isDone) { done = isDone; });
        if (!done) {
            state.SkipWithError("a job did not complete");
            break;
        }
    }
    state.counters["jobs"] = benchmark::Counter(static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(RawJobThroughCups)->Arg(2 * 1024)->Arg(64 * 1024)->UseRealTime()->Unit(benchmark::kMillisecond);

void PrinterRecordsFromCups(benchmark::State& state)
{
    Bench bench;
    if (!bench.start(static_cast<int>(state.range(0)))) {
        state.SkipWithError(bench.error.toStdString().c_str());
        return;
    }
    for (auto _ : state) {
        int count = 0;
        PRINTER_INFO_2W* infos = nullptr;
        if (!PrintServics::printerInfo2List(count, infos) || count != state.range(0)) {
            state.SkipWithError("the printers were not listed");
            break;
        }
        PrintServics::freePrinterInfo2List(infos);
    }
}
BENCHMARK(PrinterRecordsFromCups)->Arg(1)->Arg(20)->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
