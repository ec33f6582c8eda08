#pragma once
// Print dispatch against a private cupsd with raw queues to virtual printers on 127.0.0.1. One cupsd serves
// every test of a program (the print layer's threads remember the scheduler they first talked to); each
// test gets virtual printers of its own and leaves no print worker behind.

#include "printer_test_support.h"

#include "printer/dispatch_timing.h"

#include "cupsd_harness.h"
#include "virtual_printer/virtual_printer.h"

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

class CupsDispatchTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (!test_support::CupsdHarness::unavailableReason().isEmpty()) return;
        s_cups = new test_support::CupsdHarness;
        if (!s_cups->start()) {
            delete s_cups;
            s_cups = nullptr;
        }
    }
    static void TearDownTestSuite()
    {
        delete s_cups;
        s_cups = nullptr;
    }
    void SetUp() override
    {
        const QString reason = test_support::CupsdHarness::unavailableReason();
        if (!reason.isEmpty()) GTEST_SKIP() << "no CUPS scheduler here: " << reason.toStdString();
        ASSERT_NE(s_cups, nullptr) << "cupsd did not start";
    }
    void TearDown() override
    {
        EXPECT_TRUE(service_business::stopDispatchForTesting(15000)) << "a thread of print dispatch still runs";
    }

    // A virtual printer of this test, saving into a directory of its own.
    struct Device {
        QTemporaryDir dir;
        std::unique_ptr<virtual_printer::VirtualPrinter> printer;
        // The bytes of its job `number` (1 for the first); "<missing>" when there is none.
        QByteArray savedJob(int number) const
        {
            QFile file(dir.filePath(QString::asprintf("job-%04d.bin", number)));
            return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
        }
    };
    // Starts a virtual printer and a raw queue `name` to it, through the socket backend or the escpos one.
    Device* addPrinter(const QString& name, virtual_printer::Options options = {}, bool escpos = false)
    {
        auto device = std::make_unique<Device>();
        EXPECT_TRUE(device->dir.isValid());
        options.outDir = device->dir.path().toStdString();
        device->printer = std::make_unique<virtual_printer::VirtualPrinter>(options);
        std::string error;
        EXPECT_TRUE(device->printer->start(&error)) << error;
        const int port = device->printer->port();
        EXPECT_TRUE(s_cups->addRawQueue(name, escpos ? test_support::CupsdHarness::escposUri(port)
                                                     : test_support::CupsdHarness::socketUri(port)))
            << s_cups->errorLog().toStdString();
        m_devices.push_back(std::move(device));
        return m_devices.back().get();
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
    // Waits until the scheduler reports the job in the IPP state; false on timeout (a hang guard).
    static bool waitForJobState(int jobId, int state)
    {
        for (int i = 0; i < 2000; ++i) {
            if (s_cups->jobState(jobId) == state) return true;
            QThread::msleep(10);
        }
        return false;
    }
    // Descriptors open in this process.
    static int openDescriptors()
    {
        return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
    }

    inline static test_support::CupsdHarness* s_cups = nullptr;
    std::vector<std::unique_ptr<Device>> m_devices;
    CallbackLog m_outcomes;
    utility_business::log::Capture m_log;
};

}  // namespace printer_test
