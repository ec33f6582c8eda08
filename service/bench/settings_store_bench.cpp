// The settings store on real files in a temporary home: one write with its durable save, and the reads
// the printing side makes for every order.
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"

#include "utility_business/kelmo_path_info.h"

#include <benchmark/benchmark.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace utility_business;
using service_business::json_db::JsonDB;

namespace {

// A home with the factory files, one profile and two enabled printers; the store loaded from it.
class StoreHome {
public:
    StoreHome()
    {
        qputenv("SERVICE_BUSINESS_HOME", QFile::encodeName(m_home.path()));
        const QString appdata = kelmoPathInfo().appdataDir();
        QDir().mkpath(appdata);
        for (const char* name : {"Settings-App.json", "Settings-Basis.json", "Settings-Env.json"})
            QFile::copy(QStringLiteral(SB_FACTORY_SETTINGS_DIR "/") + QLatin1String(name), appdata + '/' + QLatin1String(name));
        ProfileInfo info;
        info.username = QStringLiteral("bench");
        m_profile = JsonDB::updater()->addProfile(info);
        for (int id : {1, 2}) {
            PrinterInfo printer;
            printer.id = id;
            printer.name = QStringLiteral("Printer %1").arg(id);
            printer.width = QStringLiteral("80mm");
            JsonDB::updater()->addPrinter(printer);
            JsonDB::updater()->enablePrinter(m_profile, id, PrinterSettings());
        }
    }
    int profile() const { return m_profile; }

private:
    QTemporaryDir m_home;
    int m_profile = -1;
};

StoreHome& home()
{
    static StoreHome instance;
    return instance;
}

void BM_WindowWriteWithDurableSave(benchmark::State& state)
{
    const int profile = home().profile();
    WindowInfo window;
    for (auto _ : state) {
        ++window.x;
        if (!JsonDB::updater()->updateWindowInfo(profile, window)) state.SkipWithError("save failed");
    }
}
BENCHMARK(BM_WindowWriteWithDurableSave)->Unit(benchmark::kMillisecond);

void BM_TenThousandReads(benchmark::State& state)
{
    const int profile = home().profile();
    auto* browser = JsonDB::browser();
    for (auto _ : state) {
        for (int i = 0; i < 10000; i += 2) {
            benchmark::DoNotOptimize(browser->printSettings(profile, 1));
            benchmark::DoNotOptimize(browser->windowInfo(profile));
        }
    }
    state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(BM_TenThousandReads)->Unit(benchmark::kMillisecond);

// The same two reads apart: 10,000 of each.
void BM_TenThousandWindowInfoReads(benchmark::State& state)
{
    const int profile = home().profile();
    auto* browser = JsonDB::browser();
    for (auto _ : state)
        for (int i = 0; i < 10000; ++i) benchmark::DoNotOptimize(browser->windowInfo(profile));
    state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(BM_TenThousandWindowInfoReads)->Unit(benchmark::kMillisecond);

void BM_TenThousandPrintSettingsReads(benchmark::State& state)
{
    const int profile = home().profile();
    auto* browser = JsonDB::browser();
    for (auto _ : state)
        for (int i = 0; i < 10000; ++i) benchmark::DoNotOptimize(browser->printSettings(profile, 1));
    state.SetItemsProcessed(state.iterations() * 10000);
}
BENCHMARK(BM_TenThousandPrintSettingsReads)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
