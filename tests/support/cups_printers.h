#pragma once
// Tests against a private cupsd whose raw queues lead to virtual printers on 127.0.0.1. One cupsd serves
// every test of a program (the print layer's threads remember the scheduler they first talked to); each
// test starts virtual printers of its own, in-process, each saving its jobs into a directory of its own.

#include "cupsd_harness.h"
#include "qt_print.h"

#include "virtual_printer/virtual_printer.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace test_support {

// The cupsd of this test program, started at the first call; null when it cannot run or did not start.
CupsdHarness* sharedCupsd();

// Descriptors open in this process (after Qt's own first-thread descriptor exists).
int openDescriptors();

// A virtual printer saving into a directory of its own.
struct PrinterDevice {
    QTemporaryDir dir;
    std::unique_ptr<virtual_printer::VirtualPrinter> printer;
    // The bytes of its job `number` (1 for the first); "<missing>" when there is none.
    QByteArray savedJob(int number) const;
    // How many jobs it saved.
    int savedJobs() const;
};

// Starts a virtual printer and a raw queue `name` to it on cupsd, through the socket backend or the escpos one.
std::unique_ptr<PrinterDevice> startPrinter(CupsdHarness& cups, const QString& name,
                                            virtual_printer::Options options = {}, bool escpos = false);

class CupsPrintersTest : public ::testing::Test {
protected:
    // Skips the test where cupsd cannot run; fails it when cupsd did not start.
    void SetUp() override;
    // Shows the end of the scheduler's error log when the test failed.
    void TearDown() override;

    using Device = PrinterDevice;
    // Starts a virtual printer and a raw queue `name` to it, through the socket backend or the escpos one.
    Device* addPrinter(const QString& name, virtual_printer::Options options = {}, bool escpos = false);

    // Waits until the scheduler reports the job in the IPP state; false after 20 s (a hang guard).
    static bool waitForJobState(int jobId, int state);

    inline static CupsdHarness* s_cups = nullptr;
    std::vector<std::unique_ptr<Device>> m_devices;
};

}  // namespace test_support
