// The printer registry against a real scheduler: a private cupsd whose queues come and go and are taken
// offline, one raw queue sending to the virtual printer on 127.0.0.1 and the others on USB device URIs.
#include "service_home.h"

#include "callback_log.h"
#include "cups_printers.h"
#include "printer/dispatch_timing_p.h"
#include "virtual_printer/virtual_printer.h"

#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/print_manager.h"
#include "service_business/printer_manager.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <thread>

using namespace service_business;
using namespace utility_business;
using namespace utility_business::utility_enum;
using service_business::json_db::JsonDB;
using service_business::stopDispatchForTesting;
using test_support::CupsdHarness;

namespace {

PrintCopies copies(int online, int dine, int phone)
{
    PrintCopies c;
    c.copiesCountOfOrder = online;
    c.copiesCountOfDineOrder = dine;
    c.copiesCountOfPhoneOrder = phone;
    return c;
}

// "id:name" of each stored printer, in id order.
QStringList storedPrinters()
{
    QStringList printers;
    for (const PrinterInfo& info : PrinterManager::printerInfoList())
        printers << QStringLiteral("%1:%2").arg(info.id).arg(info.name);
    return printers;
}

// "id:online/dine/phone" of each printer enabled in the profile.
QStringList enabledCopies(int profileId)
{
    QStringList enabled;
    const QMap<int, PrintCopies> all = JsonDB::browser()->enabledPrintCopies(profileId);
    for (auto it = all.cbegin(); it != all.cend(); ++it) {
        enabled << QStringLiteral("%1:%2/%3/%4")
                       .arg(it.key())
                       .arg(it.value().copiesCountOfOrder)
                       .arg(it.value().copiesCountOfDineOrder)
                       .arg(it.value().copiesCountOfPhoneOrder);
    }
    return enabled;
}

// One cupsd for the whole program (the CUPS client library keeps the scheduler a thread first talked to);
// each test gets a virtual printer of its own and deletes the queues it added.
class RegistryOnCups : public test_support::ServiceHomeTest {
protected:
    void SetUp() override
    {
        ServiceHomeTest::SetUp();
        const QString reason = CupsdHarness::unavailableReason();
        if (!reason.isEmpty()) GTEST_SKIP() << "no CUPS scheduler here: " << reason.toStdString();
        s_cups = test_support::sharedCupsd();
        ASSERT_NE(s_cups, nullptr) << "cupsd did not start";
        ASSERT_TRUE(m_out.isValid());
        virtual_printer::Options options;
        options.outDir = m_out.path().toStdString();
        options.oneAtATime = true;
        m_printer = std::make_unique<virtual_printer::VirtualPrinter>(options);
        std::string error;
        ASSERT_TRUE(m_printer->start(&error)) << error;
    }
    void TearDown() override
    {
        EXPECT_TRUE(stopDispatchForTesting(15000)) << "a thread of print dispatch still runs";
        for (const QString& queue : m_queues) s_cups->deleteQueue(queue);
        m_printer.reset();
        ServiceHomeTest::TearDown();
    }

    void addUsbQueue(const QString& name)
    {
        m_queues << name;
        ASSERT_TRUE(s_cups->addRawQueue(name, QStringLiteral("usb://Vendor/%1?serial=%1").arg(name)))
            << s_cups->errorLog().toStdString();
    }
    void addNetworkQueue(const QString& name, bool escpos = false)
    {
        m_queues << name;
        const int port = m_printer->port();
        ASSERT_TRUE(s_cups->addRawQueue(name, escpos ? CupsdHarness::escposUri(port) : CupsdHarness::socketUri(port)))
            << s_cups->errorLog().toStdString();
    }
    // Collects, stores the collection and says what changed against the stored one.
    static PrinterModification update()
    {
        const QList<PrinterInfo> collected = PrinterManager::collectPrinters();
        const PrinterModification change =
            PrinterManager::checkPrinterModification(PrinterManager::printerInfoList(), collected);
        PrinterManager::updatePrinters(collected);
        return change;
    }

    inline static CupsdHarness* s_cups = nullptr;
    QStringList m_queues;
    QTemporaryDir m_out;
    std::unique_ptr<virtual_printer::VirtualPrinter> m_printer;
};


}  // namespace

TEST_F(RegistryOnCups, QueueChangesGiveTheirBitsAndEnabledPrintersFollowTheirIds)
{
    addNetworkQueue(QStringLiteral("Bar"));
    addUsbQueue(QStringLiteral("Kitchen"));
    ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    ASSERT_EQ(addProfile(QStringLiteral("Congee House")), 2);
    EXPECT_EQ(update(), PRINTER_ADDED);
    ASSERT_EQ(storedPrinters(), (QStringList{QStringLiteral("0:Bar"), QStringLiteral("1:Kitchen")}));
    EXPECT_EQ(PrinterManager::printerInfo(1, 0).type, PRINTER_SYSTEM_NETWORK);
    EXPECT_EQ(PrinterManager::printerInfo(1, 1).type, PRINTER_SYSTEM_LOCAL);

    // Noodle Bar prints on the kitchen printer with copies of its own; Congee House on both.
    ASSERT_TRUE(PrinterManager::enablePrinter(1, 1));
    ASSERT_TRUE(PrinterManager::instancePrinter(1, 1)->setPrintCopies(copies(2, 3, 4)));
    ASSERT_TRUE(PrinterManager::enablePrinter(2, 0));
    ASSERT_TRUE(PrinterManager::enablePrinter(2, 1));
    ASSERT_TRUE(PrinterManager::updatePrinterWidth(1, QStringLiteral("80mm")));

    // A queue added: ids are handed out afresh in name order.
    addUsbQueue(QStringLiteral("Counter"));
    EXPECT_EQ(update(), PRINTER_ADDED);
    EXPECT_EQ(storedPrinters(), (QStringList{"0:Bar", "1:Counter", "2:Kitchen"}));
    EXPECT_EQ(enabledCopies(1), QStringList{QStringLiteral("2:2/3/4")});
    EXPECT_EQ(enabledCopies(2), (QStringList{QStringLiteral("0:1/1/1"), QStringLiteral("2:1/1/1")}));
    EXPECT_EQ(PrinterManager::printerInfo(1, 2).width, QStringLiteral("80mm")) << "the chosen width stays";

    // A queue removed: it is enabled nowhere any more.
    ASSERT_TRUE(s_cups->deleteQueue(QStringLiteral("Bar")));
    EXPECT_EQ(update(), PRINTER_REMOVED);
    EXPECT_EQ(storedPrinters(), (QStringList{QStringLiteral("0:Counter"), QStringLiteral("1:Kitchen")}));
    EXPECT_EQ(enabledCopies(1), QStringList{QStringLiteral("1:2/3/4")});
    EXPECT_EQ(enabledCopies(2), QStringList{QStringLiteral("1:1/1/1")});

    // A queue taken offline: it stays, enabled, but is no longer connected.
    ASSERT_TRUE(s_cups->stopQueue(QStringLiteral("Kitchen")));
    EXPECT_EQ(update(), PRINTER_REMOVED);
    EXPECT_FALSE(PrinterManager::printerInfoList().at(1).connected);
    EXPECT_EQ(enabledCopies(1), QStringList{QStringLiteral("1:2/3/4")});

    // Back online while another goes offline, and a new one at once.
    ASSERT_TRUE(s_cups->startQueue(QStringLiteral("Kitchen")));
    ASSERT_TRUE(s_cups->stopQueue(QStringLiteral("Counter")));
    addNetworkQueue(QStringLiteral("Office"));
    EXPECT_EQ(update(), PRINTER_ADDED_AND_REMOVED);
    EXPECT_EQ(storedPrinters(), (QStringList{"0:Counter", "1:Kitchen", "2:Office"}));
    EXPECT_EQ(enabledCopies(1), QStringList{QStringLiteral("1:2/3/4")});
    EXPECT_EQ(update(), PRINTER_UNCHANGED);
}

// Many receipt printers serve one connection at a time; the registry's status reads never hold one while a
// job of ours prints, and last a fraction of a second, so no job waits behind them for long or is refused.
TEST_F(RegistryOnCups, StatusReadsOfAPrinterServingOneConnectionAtATimeNeitherHoldUpNorRefuseJobs)
{
    addNetworkQueue(QStringLiteral("Counter"), true);
    ASSERT_EQ(update(), PRINTER_ADDED);
    const PrinterInfo printer = PrinterManager::printerInfoList().at(0);
    ASSERT_TRUE(printer.connected);
    test_support::CallbackLog outcomes;
    const QByteArray receipt("\x1b@Table 12\n", 11);
    auto timedJob = [&](int number) {
        QElapsedTimer job;
        job.start();
        PrintManager::printOrder(printer, receipt, outcomes.callback(number));
        EXPECT_TRUE(outcomes.waitFor(number, std::chrono::seconds(20)));
        EXPECT_EQ(outcomes.results(number), QList<bool>{true}) << number;
        return job.elapsed();
    };
    const qint64 alone = timedJob(1);
    PrinterManager::watchPrinterStatus(20);  // far more often than a shop's five seconds
    for (int number = 2; number <= 11; ++number) {
        // Gaps of different lengths between the jobs, so that reads fall between them and some job begins while
        // a read is under way.
        std::this_thread::sleep_for(std::chrono::milliseconds(7 * number));
        EXPECT_LT(timedJob(number), alone + 1000) << number;
    }
    PrinterManager::watchPrinterStatus(0);
    EXPECT_EQ(PrinterManager::printerStatus(printer.id).reason, "the printer says it is ready")
        << "the watch read the printer meanwhile";
    EXPECT_EQ(m_printer->jobCount(), 11);
}
