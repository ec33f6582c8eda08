// Print dispatch: how many jobs a second go from PrintManager::printOrder to a printer through a real cupsd
// and a virtual printer on 127.0.0.1, how many the dispatch itself carries (the fake spooler), and how fast
// Printer::buildDocument converts receipt bytes. Runs in a temporary home, so the log goes there.
#include "service_business/print_cmd_formater.h"
#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include "cupsd_harness.h"
#include "systemif/print_fake.h"
#include "virtual_printer/virtual_printer.h"

#include "bench_support.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QTemporaryDir>

#include <chrono>
#include <condition_variable>
#include <limits>
#include <memory>
#include <mutex>

using namespace utility_business;
using service_business::PrintManager;
using service_business::Printer;

namespace {

const int kJobsPerBatch = 20;

// Counts the outcomes of a batch of jobs.
class Batch {
public:
    std::function<void(bool)> callback()
    {
        return [this](bool ok) {
            std::lock_guard<std::mutex> lock(m_mutex);
            ++m_told;
            if (!ok) ++m_failed;
            // Only the last outcome wakes the waiter: a wake-up per job would be timed as dispatch cost.
            if (m_told >= m_expected) m_changed.notify_all();
        };
    }
    // False when the batch did not end within a minute or a job failed.
    bool waitFor(int jobs)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_expected = jobs;
        const bool ended = m_changed.wait_for(lock, std::chrono::minutes(1), [&] { return m_told >= jobs; });
        return ended && m_failed == 0;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_told = 0;
    int m_failed = 0;
    int m_expected = std::numeric_limits<int>::max();
};

void runBatches(benchmark::State& state, const PrinterInfo& printer, const QByteArray& receipt)
{
    for (auto _ : state) {
        Batch batch;
        for (int i = 0; i < kJobsPerBatch; ++i) PrintManager::printOrder(printer, receipt, batch.callback());
        if (!batch.waitFor(kJobsPerBatch)) {
            state.SkipWithError("a job failed or the batch did not end");
            break;
        }
    }
    state.SetItemsProcessed(state.iterations() * kJobsPerBatch);
    PrintManager::printerHasChanged({});
}

void BM_PrintOrderThroughCups(benchmark::State& state)
{
    const QString reason = test_support::CupsdHarness::unavailableReason();
    if (!reason.isEmpty()) {
        state.SkipWithError(reason.toStdString().c_str());
        return;
    }
    QTemporaryDir out;
    virtual_printer::Options options;
    options.outDir = out.path().toStdString();
    virtual_printer::VirtualPrinter device(options);
    std::string error;
    test_support::CupsdHarness cups;
    if (!device.start(&error) || !cups.start() ||
        !cups.addRawQueue("Kitchen", test_support::CupsdHarness::socketUri(device.port()))) {
        state.SkipWithError("cannot start cupsd and the virtual printer");
        return;
    }
    PrinterInfo printer;
    printer.id = 1;
    printer.name = QStringLiteral("Kitchen");
    Printer::systemPrinterInfo(printer);
    printer.connected = true;
    runBatches(state, printer, exampleReceipt());
}
BENCHMARK(BM_PrintOrderThroughCups)->Unit(benchmark::kMillisecond)->UseRealTime()->MinTime(5.0);

void BM_PrintOrderThroughTheFakeSpooler(benchmark::State& state)
{
    systemif::print::FakePrintSystem fake;
    fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://127.0.0.1:9100");
    PrinterInfo printer;
    printer.id = 2;
    printer.name = QStringLiteral("Kitchen");
    printer.type = utility_enum::PRINTER_SYSTEM_NETWORK;
    printer.connected = true;
    runBatches(state, printer, exampleReceipt());
}
BENCHMARK(BM_PrintOrderThroughTheFakeSpooler)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_BuildDocument(benchmark::State& state)
{
    const QByteArray receipt = exampleReceipt();
    Printer::buildDocument(receipt);  // the conversion tables are read once, before timing
    for (auto _ : state) benchmark::DoNotOptimize(Printer::buildDocument(receipt));
    state.SetBytesProcessed(state.iterations() * receipt.size());
    state.counters["receipt_bytes"] = receipt.size();
}
BENCHMARK(BM_BuildDocument);

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmarksInATemporaryHome(argc, argv);
}
