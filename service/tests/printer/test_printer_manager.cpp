// The printer registry on the in-memory print services: what a collection holds, what counts as a change,
// and the per-profile printer settings it keeps in the store.
#include "service_home.h"

#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/os_printer_manager.h"
#include "service_business/printer_manager.h"
#include "service_business/print_manager.h"
#include "service_business/profile_manager.h"

#include "callback_log.h"
#include "printer/dispatch_timing_p.h"

#include "systemif/print_backend.h"
#include "systemif/print_fake.h"
#include "utility_business/json_document.h"

#include <atomic>
#include <memory>
#include <thread>

using namespace service_business;
using namespace utility_business;
using namespace utility_business::utility_enum;
using namespace systemif::print;
using service_business::json_db::JsonDB;

namespace {

// A pair listed in the drivers package's "libusb/supported".
const unsigned short kSupportedVendor = 0x0416;
const unsigned short kSupportedProduct = 0x5011;

UsbDevice usbDevice(const QString& filename)
{
    return UsbDevice{QStringLiteral("001"), filename, {kSupportedVendor, kSupportedProduct}, true};
}

PrinterInfo record(const QString& name, PrinterType type, bool connected = true)
{
    PrinterInfo info;
    info.name = name;
    info.type = type;
    info.connected = connected;
    return info;
}

QStringList namesOf(const QList<PrinterInfo>& printers)
{
    QStringList names;
    for (const PrinterInfo& info : printers) names << info.name;
    return names;
}

class Registry : public test_support::ServiceHomeTest {
protected:
    QList<PrinterInfo> collectAndStore()
    {
        const QList<PrinterInfo> printers = PrinterManager::collectPrinters();
        PrinterManager::updatePrinters(printers);
        return printers;
    }
    PrinterModification changeAfter(const std::function<void()>& change)
    {
        const QList<PrinterInfo> before = PrinterManager::collectPrinters();
        change();
        return PrinterManager::checkPrinterModification(before, PrinterManager::collectPrinters());
    }

    FakePrintSystem m_fake;
};

// --- what a collection holds ---

TEST_F(Registry, CollectsPrintSupportThenLibusbThenSpoolerPrintersWithIdsInThatOrder)
{
    m_fake.usbPrintSupport.attach("/dev/usb/lp0");
    m_fake.usbPrintSupport.attach("/dev/usb/lp1");
    m_fake.usbBus.attach(usbDevice("004"));
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "usb://V/K");
    m_fake.spooler.addQueue("Bar", "XP-58", "usb://V/B");
    m_fake.spooler.setStopped("Kitchen", true);

    const QList<PrinterInfo> printers = PrinterManager::collectPrinters();
    ASSERT_EQ(namesOf(printers), (QStringList{QStringLiteral("Usb打印支持1"), QStringLiteral("Usb打印支持2"),
                                               QStringLiteral("Libusb打印机"), QStringLiteral("Bar"),
                                               QStringLiteral("Kitchen")}));
    for (int i = 0; i < printers.size(); ++i) EXPECT_EQ(printers[i].id, i);
    EXPECT_EQ(printers[1].type, PRINTER_USB_PRINT_SUPPORT);
    EXPECT_EQ(printers[1].model, QStringLiteral("/dev/usb/lp1"));
    EXPECT_TRUE(printers[1].connected);
    EXPECT_EQ(printers[2].type, PRINTER_LIBUSB);
    EXPECT_TRUE(printers[2].connected);
    EXPECT_EQ(printers[3].type, PRINTER_SYSTEM_LOCAL);
    EXPECT_EQ(printers[3].width, QStringLiteral("58mm"));
    EXPECT_TRUE(printers[3].connected);
    EXPECT_EQ(printers[4].width, QStringLiteral("80mm"));
    EXPECT_FALSE(printers[4].connected) << "a stopped queue works offline";
}

// A spooler whose listing holds two printers of one name, which the fakes cannot show.
class TwinSpooler : public Spooler {
public:
    bool queues(QList<SpoolerQueue>& queues) override
    {
        SpoolerQueue first;
        first.name = QStringLiteral("Kitchen");
        first.makeAndModel = QStringLiteral("POS-58");
        first.deviceUri = QStringLiteral("usb://V/K1");
        SpoolerQueue second = first;
        second.makeAndModel = QStringLiteral("POS-80");
        second.deviceUri = QStringLiteral("usb://V/K2");
        queues = {first, second};
        return true;
    }
    std::unique_ptr<SpoolerJob> createJob(const QString&, const QString&) override { return nullptr; }
    SpoolerCancel cancel(const QString&, int) override { return SpoolerCancel::Failed; }
};

TEST_F(Registry, SpoolerPrintersOfOneNameGiveOneRecordTheLaterOne)
{
    TwinSpooler twins;
    PrintBackend backend = printBackend();
    backend.spooler = &twins;
    setPrintBackend(backend);
    const QList<PrinterInfo> printers = OsPrinterManager::availableOSPrinterList();
    setPrintBackend(PrintBackend{&m_fake.spooler, &m_fake.usbBus, &m_fake.usbPrintSupport, &m_fake.serialPorts});

    ASSERT_EQ(printers.size(), 1);
    EXPECT_EQ(printers[0].name, QStringLiteral("Kitchen"));
    EXPECT_EQ(printers[0].model, QStringLiteral("POS-80"));
}

TEST_F(Registry, SpoolerPrinterOnAnUnsupportedPortOrOfAnUnreachableSpoolerIsNotListed)
{
    m_fake.spooler.addQueue("Archive", "PDF", "file:///dev/null");
    m_fake.spooler.addQueue("Chained", "POS-58", "beh:/1/3/5/usb://V/K");
    m_fake.spooler.addQueue("Kitchen", "POS-58", "parallel:/dev/lp0");
    EXPECT_EQ(namesOf(OsPrinterManager::availableOSPrinterList()), QStringList{QStringLiteral("Kitchen")});
    m_fake.spooler.setReachable(false);
    EXPECT_TRUE(OsPrinterManager::availableOSPrinterList().isEmpty());
}

// A new collection moves the queued jobs of each printer to its new id: the held job and the one behind it
// follow Kitchen from id 1 to id 0, and a job for id 0 joins them.
TEST_F(Registry, QueuedJobFollowsItsPrinterToItsNewId)
{
    m_fake.spooler.addQueue("A", "POS-58", "usb://V/A");
    m_fake.spooler.addQueue("Kitchen", "POS-58", "usb://V/K");
    PrinterInfo kitchen = collectAndStore().at(1);
    ASSERT_EQ(kitchen.name, "Kitchen");
    test_support::CallbackLog outcomes;
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Hang);
    PrintManager::printOrder(kitchen, QByteArrayLiteral("first"), outcomes.callback(1));
    for (int i = 0; i < 500 && (m_fake.spooler.jobs().isEmpty() ||
                                m_fake.spooler.jobs()[0].state != SpoolerJobState::Processing); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    ASSERT_EQ(m_fake.spooler.jobs().size(), 1) << "the first job never reached the spooler";
    PrintManager::printOrder(kitchen, QByteArrayLiteral("second"), outcomes.callback(2));

    m_fake.spooler.removeQueue("A");
    kitchen = collectAndStore().at(0);
    ASSERT_EQ(kitchen.name, "Kitchen");
    m_fake.spooler.setJobOutcome("Kitchen", FakeSpooler::JobOutcome::Complete);
    PrintManager::printOrder(kitchen, QByteArrayLiteral("third"), outcomes.callback(3));
    m_fake.spooler.cancel("Kitchen", m_fake.spooler.jobs()[0].id);
    ASSERT_TRUE(outcomes.waitForTotal(3));
    EXPECT_EQ(outcomes.order(), (QList<int>{1, 2, 3}));
    EXPECT_EQ(outcomes.results(1), QList<bool>{false});
    EXPECT_EQ(m_fake.spooler.printed("Kitchen"), (QList<QByteArray>{QByteArray("second", 7), QByteArray("third", 6)}));
    EXPECT_TRUE(service_business::stopDispatchForTesting(10000));
}

// --- what counts as a change ---

TEST_F(Registry, UnpluggingTheOnlyLibusbPrinterGives2AndPluggingOneIn1)
{
    m_fake.usbBus.attach(usbDevice("004"));
    EXPECT_EQ(changeAfter([this] { m_fake.usbBus.detachAll(); }), PRINTER_REMOVED);
    EXPECT_EQ(changeAfter([this] { m_fake.usbBus.attach(usbDevice("006")); }),
              PRINTER_ADDED);
}

TEST_F(Registry, ChangeBitsOfTwoCollections)
{
    const PrinterInfo barOnline = record(QStringLiteral("Bar"), PRINTER_SYSTEM_NETWORK, true);
    const PrinterInfo barOffline = record(QStringLiteral("Bar"), PRINTER_SYSTEM_NETWORK, false);
    const PrinterInfo kitchen = record(QStringLiteral("Kitchen"), PRINTER_SYSTEM_LOCAL);
    const struct {
        QList<PrinterInfo> before, after;
        PrinterModification expected;
    } cases[] = {
        // A network printer going offline while a local one is plugged in, and the other way round.
        {{barOnline}, {barOffline, kitchen}, PRINTER_ADDED_AND_REMOVED},
        {{barOffline, kitchen}, {barOnline}, PRINTER_ADDED_AND_REMOVED},
        // Each record of one matches one of the other.
        {{kitchen, kitchen}, {kitchen}, PRINTER_REMOVED},
        {{kitchen}, {kitchen, kitchen}, PRINTER_ADDED},
        {{}, {}, PRINTER_UNCHANGED},
        // One libusb printer replaced by another is the same printer; unusable records are not compared.
        {{record(QStringLiteral("Libusb打印机"), PRINTER_LIBUSB)}, {record(QStringLiteral("x"), PRINTER_LIBUSB, false)},
         PRINTER_UNCHANGED},
        {{record(QStringLiteral("Libusb打印机"), PRINTER_LIBUSB)}, {record(QStringLiteral("x"), PRINTER_LIBUSB)},
         PRINTER_UNCHANGED},
        {{record(QStringLiteral("x"), PRINTER_UNUSABLE)}, {}, PRINTER_UNCHANGED},
    };
    for (const auto& c : cases)
        EXPECT_EQ(PrinterManager::checkPrinterModification(c.before, c.after), c.expected)
            << namesOf(c.before).join(',').toStdString() << " -> " << namesOf(c.after).join(',').toStdString();
}

// --- per-profile settings in the store ---

class RegistryStore : public Registry {
protected:
    void SetUp() override
    {
        Registry::SetUp();
        m_fake.spooler.addQueue("Bar", "XP-58", "usb://V/B");
        m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "usb://V/K");
        collectAndStore();  // Bar 0, Kitchen 1
        ASSERT_EQ(addProfile(QStringLiteral("Noodle Bar")), 1);
    }
    QString storedLocal(const KeyPath& path) const
    {
        JsonDocument local;
        if (!local.fromFile(appdataPath(QStringLiteral("Profiles/1/Settings-Local.json"))))
            return QStringLiteral("<unreadable>");
        return local.toString(path);
    }
};

TEST_F(RegistryStore, EnablingStores58mmAndOneCopyOfEachKindAndDisablingLeavesTheBasisSettings)
{
    ASSERT_EQ(PrinterManager::printerInfo(1, 1).width, QStringLiteral("80mm"));
    PrintCopies basis;  // not what a newly enabled printer gets
    basis.copiesCountOfOrder = 5;
    ASSERT_TRUE(PrinterManager::setBasisPrintCopies(1, basis));

    ASSERT_TRUE(PrinterManager::enablePrinter(1, 1));
    JsonDocument expected;
    ASSERT_TRUE(expected.addNode(QStringLiteral(R"({"width":"58mm","copiesCountOfOrder":1,)"
                                                R"("copiesCountOfDineOrder":1,"copiesCountOfPhoneOrder":1})"),
                                 {}));
    EXPECT_EQ(storedLocal({QStringLiteral("printers"), QStringLiteral("1")}), expected.toString());
    EXPECT_EQ(namesOf(PrinterManager::enabledPrinterInfoList(1)), QStringList{QStringLiteral("Kitchen")});

    const QString before = storedLocal({});
    EXPECT_FALSE(PrinterManager::enablePrinter(1, 7)) << "the store holds no printer 7";
    EXPECT_EQ(storedLocal({}), before);

    ASSERT_TRUE(PrinterManager::enablePrinter(1, 0));
    EXPECT_TRUE(PrinterManager::disablePrinter(1, 0));
    EXPECT_EQ(namesOf(PrinterManager::enabledPrinterInfoList(1)), QStringList{QStringLiteral("Kitchen")});
    EXPECT_FALSE(PrinterManager::disablePrinter(1, 0)) << "not enabled any more";

    PrinterManager::disableAllPrinter(1);
    EXPECT_TRUE(PrinterManager::enabledPrinterInfoList(1).isEmpty());
    EXPECT_FALSE(storedLocal({QStringLiteral("printers"), QStringLiteral("defaulePrinterProperties")}).isEmpty());
}

TEST_F(RegistryStore, HeldPrinterListMakesTheOtherThreadsWait)
{
    PrinterManager::lockPrinters();
    std::atomic<bool> listed{false};
    std::thread reader([&listed] {
        PrinterManager::printerInfoList();
        listed = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    EXPECT_FALSE(listed.load()) << "the list was read while it was held";
    PrinterManager::unlockPrinters();
    reader.join();
    EXPECT_TRUE(listed.load());
}

}  // namespace
