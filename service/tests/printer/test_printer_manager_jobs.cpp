// A new collection of printers moves the queued jobs of each printer to its new id. The jobs run on the fake spooler, which can hold a job until the test lets it go.
#include "service_home.h"
#include "printer_test_support.h"

#include "service_business/print_manager.h"
#include "service_business/printer_manager.h"

#include "systemif/print_fake.h"

#include <thread>

using namespace service_business;
using namespace utility_business;
using namespace systemif::print;
using namespace std::chrono_literals;

namespace {

class RegistryJobs : public test_support::ServiceHomeTest {
protected:
    void SetUp() override
    {
        ServiceHomeTest::SetUp();
        m_fake.spooler.addQueue("A", "POS-58", "usb://V/A");
        m_fake.spooler.addQueue("Kitchen", "POS-58", "usb://V/K");
        PrinterManager::updatePrinters(PrinterManager::collectPrinters());  // A 0, Kitchen 1
    }
    void TearDown() override
    {
        PrintManager::printerHasChanged({});  // no worker outlives the test's fakes
        ServiceHomeTest::TearDown();
    }
    PrinterInfo stored(const QString& name) const
    {
        for (const PrinterInfo& info : PrinterManager::printerInfoList())
            if (info.name == name) return info;
        return PrinterInfo();
    }
    // Queues a job that the spooler holds in processing, and a second one behind it.
    int holdPrinterBusy(const PrinterInfo& printer)
    {
        m_fake.spooler.setJobOutcome(printer.name, FakeSpooler::JobOutcome::Hang);
        PrintManager::printOrder(printer, QByteArrayLiteral("first"), m_outcomes.callback(1));
        const auto deadline = std::chrono::steady_clock::now() + 5s;
        while (std::chrono::steady_clock::now() < deadline) {
            for (const FakeSpooler::Job& job : m_fake.spooler.jobs())
                if (job.printer == printer.name && job.state == SpoolerJobState::Processing) {
                    PrintManager::printOrder(printer, QByteArrayLiteral("second"), m_outcomes.callback(2));
                    return job.id;
                }
            std::this_thread::sleep_for(10ms);
        }
        return 0;
    }

    FakePrintSystem m_fake;
    printer_test::CallbackLog m_outcomes;
};

TEST_F(RegistryJobs, QueuedJobFollowsItsPrinterToItsNewId)
{
    const PrinterInfo kitchen = stored(QStringLiteral("Kitchen"));
    ASSERT_EQ(kitchen.id, 1);
    const int held = holdPrinterBusy(kitchen);
    ASSERT_NE(held, 0) << "the first job never reached the spooler";

    m_fake.spooler.removeQueue("A");
    PrinterManager::updatePrinters(PrinterManager::collectPrinters());
    const PrinterInfo moved = stored(QStringLiteral("Kitchen"));
    ASSERT_EQ(moved.id, 0);
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Complete);
    // A job for the new id joins the same queue, behind the one that moved there.
    PrintManager::printOrder(moved, QByteArrayLiteral("third"), m_outcomes.callback(3));

    m_fake.spooler.cancel("Kitchen", held);
    ASSERT_TRUE(m_outcomes.waitForTotal(3, 8s));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{true}) << "the queued job was dropped with its old id";
    EXPECT_EQ(m_outcomes.results(3), QList<bool>{true});
    EXPECT_EQ(m_fake.spooler.printed("Kitchen"),
              (QList<QByteArray>{QByteArray("second", 7), QByteArray("third", 6)}));
}

}  // namespace
