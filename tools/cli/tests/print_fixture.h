#pragma once
// sbtool against a private cupsd whose raw queues lead to sb-virtual-printer processes on 127.0.0.1. One
// cupsd serves every test of a program; each test starts virtual printers of its own.

#include "tool_run.h"

#include "cupsd_harness.h"

#include <QProcess>
#include <QString>
#include <QStringList>

namespace cli_test {

class PrintTest : public ToolTest {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void SetUp() override;

    // An sb-virtual-printer started with `options`, saving into a directory of its own.
    struct Device {
        QProcess* process = nullptr;
        QString dir;
        int port = 0;
        // The next line it says ("job 1 DIR/job-0001.bin 1234"), waiting up to 20 s.
        QByteArray nextReport() const;
        // DIR/job-NNNN.bin, DIR/job-NNNN.png.
        QString jobPath(int number, const char* extension = "bin") const;
    };
    // Starts a virtual printer and a raw queue `name` to it; sets `device`.
    void addPrinter(const QString& name, Device* device, const QStringList& options = {});

    // What sbtool printed on stdout without the progress lines of a long wait ("NAME: sent, waiting 2 s").
    static QByteArray withoutWaits(const QByteArray& out);

    static test_support::CupsdHarness* s_cups;
};

}  // namespace cli_test
