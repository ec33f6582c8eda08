// Printer status: what one status read costs (a network printer asked over loopback, its queue on the fake
// spooler), and how much processor time the registry's watch of ten printers takes in a minute.
#include "service_business/printer.h"
#include "service_business/printer_manager.h"

#include "systemif/print_fake.h"
#include "virtual_printer/virtual_printer.h"

#include "bench_support.h"

#include <benchmark/benchmark.h>

#include <QFile>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <thread>

using namespace utility_business;
using service_business::Printer;
using service_business::PrinterManager;

namespace {

PrinterInfo networkPrinter(int id, const QString& name)
{
    PrinterInfo printer;
    printer.id = id;
    printer.name = name;
    printer.type = utility_enum::PRINTER_SYSTEM_NETWORK;
    printer.connected = true;
    return printer;
}

double cpuSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void BM_StatusReadOfANetworkPrinter(benchmark::State& state)
{
    QTemporaryDir out;
    virtual_printer::Options options;
    options.outDir = out.path().toStdString();
    virtual_printer::VirtualPrinter device(options);
    std::string error;
    if (!device.start(&error)) {
        state.SkipWithError(error.c_str());
        return;
    }
    // The queue from the fake spooler; the printer asked for real, over loopback.
    systemif::print::FakeSpooler spooler;
    spooler.addQueue("Kitchen", "POS-80", QStringLiteral("escpos://127.0.0.1:%1").arg(device.port()));
    systemif::print::setPrintBackend({&spooler, nullptr, nullptr, nullptr, nullptr});
    const PrinterInfo printer = networkPrinter(1, "Kitchen");
    for (auto _ : state) benchmark::DoNotOptimize(Printer::printerStatus(printer));
    systemif::print::setPrintBackend({});
}
BENCHMARK(BM_StatusReadOfANetworkPrinter)->Unit(benchmark::kMicrosecond)->UseRealTime();

void BM_IdleWatchOfTenPrinters(benchmark::State& state)
{
    systemif::print::FakePrintSystem fake;
    QList<PrinterInfo> printers;
    for (int i = 0; i < 10; ++i) {
        const QString name = QStringLiteral("Printer%1").arg(i);
        fake.spooler.addQueue(name, "POS-80", QStringLiteral("socket://printer%1.test:9100").arg(i));
        printers << networkPrinter(i, name);
    }
    PrinterManager::updatePrinters(printers);
    for (auto _ : state) {
        const double before = cpuSeconds();
        PrinterManager::watchPrinterStatus(5000);
        std::this_thread::sleep_for(std::chrono::seconds(60));
        PrinterManager::watchPrinterStatus(0);
        state.counters["cpu_ms_per_minute"] = (cpuSeconds() - before) * 1000;
    }
}
BENCHMARK(BM_IdleWatchOfTenPrinters)->Unit(benchmark::kSecond)->UseRealTime()->Iterations(1);

}  // namespace

int main(int argc, char** argv)
{
    return runBenchmarksInATemporaryHome(argc, argv);
}
