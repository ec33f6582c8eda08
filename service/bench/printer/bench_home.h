#pragma once
// The main of the printing benchmarks: they run in a temporary home, so that the log and the settings they
// write stay out of the real one.

#include <benchmark/benchmark.h>

#include <QFile>
#include <QTemporaryDir>

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
