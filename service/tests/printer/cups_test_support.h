#pragma once
// Print dispatch against a private cupsd with raw queues to virtual printers on 127.0.0.1. One cupsd serves
// every test of a program (the print layer's threads remember the scheduler they first talked to); each
// test gets virtual printers of its own and leaves no print worker behind.

#include "printer_test_support.h"

#include "cupsd_harness.h"
#include "virtual_printer/virtual_printer.h"

#include <QByteArray>
#include <QString>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace printer_test {

class CupsDispatchTest : public ::testing::Test {
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void SetUp() override;
    void TearDown() override;

    // A virtual printer of this test, saving into a directory of its own.
    struct Device {
        QTemporaryDir dir;
        std::unique_ptr<virtual_printer::VirtualPrinter> printer;
        // The bytes of its job `number` (1 for the first); "<missing>" when there is none.
        QByteArray savedJob(int number) const;
    };
    // Starts a virtual printer and a raw queue `name` to it that does not wait for the printer to close the
    // connection.
    Device* addPrinter(const QString& name);
    // The queue's record as the registry makes it: refreshed from the spooler, connection tested.
    utility_business::PrinterInfo spoolerRecord(int id, const QString& name);
    // Descriptors open in this process.
    static int openDescriptors();

    static test_support::CupsdHarness* s_cups;
    std::vector<std::unique_ptr<Device>> m_devices;
    CallbackLog m_outcomes;
};

}  // namespace printer_test
