#pragma once
// Print dispatch against a private cupsd with raw queues to virtual printers on 127.0.0.1. One cupsd serves
// every test of a program (the print layer's threads remember the scheduler they first talked to); each
// test gets virtual printers of its own and leaves no print worker behind.

#include "printer_test_support.h"

#include "printer/dispatch_timing.h"

#include "cups_printers.h"

#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QString>
#include <QTemporaryDir>
#include <QThread>

#include <memory>
#include <vector>

namespace printer_test {

class CupsDispatchTest : public test_support::CupsPrintersTest {
protected:
    void TearDown() override
    {
        CupsPrintersTest::TearDown();
        EXPECT_TRUE(service_business::stopDispatchForTesting(15000)) << "a thread of print dispatch still runs";
    }

    // The queue's record as the registry makes it: refreshed from the spooler, connection tested.
    utility_business::PrinterInfo spoolerRecord(int id, const QString& name)
    {
        utility_business::PrinterInfo info;
        info.id = id;
        info.name = name;
        EXPECT_TRUE(service_business::Printer::systemPrinterInfo(info)) << name.toStdString();
        info.connected = service_business::Printer::isConnected(info);
        return info;
    }
    CallbackLog m_outcomes;
    utility_business::log::Capture m_log;
};

}  // namespace printer_test
