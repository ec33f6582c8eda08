#pragma once
// What the printing benchmarks share: their main, which runs them in a temporary home so that the log and
// the settings they write stay out of the real one, and the example receipt they print.

#include "service_business/print_cmd_formater.h"

#include <benchmark/benchmark.h>

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QTemporaryDir>

// The receipt of the example online order (examples/) on 80 mm paper, with its barcode.
inline QByteArray exampleReceipt()
{
    auto example = [](const char* name) {
        QFile file(QStringLiteral(SB_EXAMPLES_DIR "/") + QLatin1String(name));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    };
    utility_business::SummaryPrintSettings settings;
    settings.width = QStringLiteral("80mm");
    settings.isPrintBarcodeEnabled = true;
    return service_business::print_cmd_formater::formatOrder(example("restaurant.json"), example("online_order.json"),
                                                              utility_business::utility_enum::ORDER_ONLINE, settings);
}

inline int runBenchmarksInATemporaryHome(int argc, char** argv)
{
    QTemporaryDir home;
    qputenv("SERVICE_BUSINESS_HOME", QFile::encodeName(home.path()));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
