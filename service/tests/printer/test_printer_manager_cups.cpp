// The printer registry against a real scheduler: a private cupsd whose queues come and go and are taken
// offline, one raw queue sending to the virtual printer on 127.0.0.1 and the others on USB device URIs.
#include "service_home.h"

#include "cupsd_harness.h"
#include "virtual_printer/virtual_printer.h"

#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/print_manager.h"
#include "service_business/printer_manager.h"

#include <QTemporaryDir>

using namespace service_business;
using namespace utility_business;
using namespace utility_business::utility_enum;
using service_business::json_db::JsonDB;
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
    static void SetUpTestSuite()
    {
        if (!CupsdHarness::unavailableReason().isEmpty()) return;
        s_cups = new CupsdHarness;
        if (!s_cups->start()) s_startError = s_cups->error();
    }
    static void TearDownTestSuite()
    {
        delete s_cups;
        s_cups = nullptr;
    }
    void SetUp() override
    {
        ServiceHomeTest::SetUp();
        const QString reason = CupsdHarness::unavailableReason();
        if (!reason.isEmpty()) GTEST_SKIP() << "no CUPS scheduler here: " << reason.toStdString();
        ASSERT_TRUE(s_cups && s_startError.isEmpty()) << s_startError.toStdString();
        ASSERT_TRUE(m_out.isValid());
        virtual_printer::Options options;
        options.outDir = m_out.path().toStdString();
        m_printer = std::make_unique<virtual_printer::VirtualPrinter>(options);
        std::string error;
        ASSERT_TRUE(m_printer->start(&error)) << error;
    }
    void TearDown() override
    {
        PrintManager::printerHasChanged({});
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
    void addNetworkQueue(const QString& name)
    {
        m_queues << name;
        ASSERT_TRUE(s_cups->addRawQueue(name, CupsdHarness::socketUri(m_printer->port())))
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

    static CupsdHarness* s_cups;
    static QString s_startError;
    QStringList m_queues;
    QTemporaryDir m_out;
    std::unique_ptr<virtual_printer::VirtualPrinter> m_printer;
};

CupsdHarness* RegistryOnCups::s_cups = nullptr;
QString RegistryOnCups::s_startError;

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

}  // namespace
