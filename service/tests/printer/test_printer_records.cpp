// Spooler records made into PrinterInfo, and whether a printer counts as connected, on the fake print
// services (the port names and the TCP/IP port view come from the fake spooler's queues).
#include "printer_test_support.h"

#include "printer/usb_printer_list.h"
#include "service_business/printer.h"

#include "systemif/print_fake.h"

#include <gtest/gtest.h>

#include <memory>

using namespace utility_business;
using printer_test::printerRecord;
using service_business::Printer;
using systemif::print::FakePrintSystem;
using systemif::print::PRINTER_INFO_2W;
using systemif::print::PrintServics;
using systemif::print::UsbDevice;

namespace {

class PrinterRecordTest : public ::testing::Test {
protected:
    // The record the spooler gives for the queue, as loadDataFromPRINTER_INFO2 fills it into `info`.
    PrinterInfo load(const QString& queue, PrinterInfo info = PrinterInfo())
    {
        PRINTER_INFO_2W* record = nullptr;
        EXPECT_TRUE(PrintServics::queryPrinterInfo2(queue, record)) << queue.toStdString();
        Printer::loadDataFromPRINTER_INFO2(info, record);
        PrintServics::freePrinterInfo2(record);
        return info;
    }

    static PrinterInfo loadRecord(const QString& portName, const QString& driver = QStringLiteral("XP-58"))
    {
        PRINTER_INFO_2W record;
        record.pPrinterName = QStringLiteral("Bar");
        record.pDriverName = driver;
        record.pPortName = portName;
        PrinterInfo info;
        Printer::loadDataFromPRINTER_INFO2(info, &record);
        return info;
    }

    FakePrintSystem m_fake;
};

UsbDevice usbDevice(const QString& filename, unsigned short vendor, unsigned short product, bool printer = true)
{
    UsbDevice device;
    device.bus = QStringLiteral("001");
    device.filename = filename;
    device.descriptor.idVendor = vendor;
    device.descriptor.idProduct = product;
    device.hasPrinterInterface = printer;
    return device;
}

}  // namespace

TEST_F(PrinterRecordTest, UsbParallelAndSerialQueuesAreLocal)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "usb://Vendor/TM-T20?serial=1");
    m_fake.spooler.addQueue("Bar", "XP-58", "parallel:/dev/lp0");
    m_fake.spooler.addQueue("Counter", "XP-58", "serial:/dev/ttyS0?baud=9600");

    const PrinterInfo kitchen = load("Kitchen");
    EXPECT_EQ(kitchen.name, "Kitchen");
    EXPECT_EQ(kitchen.model, "POS-80 Series");
    EXPECT_EQ(kitchen.portName, "USB001");
    EXPECT_EQ(kitchen.connectionType, "local");
    EXPECT_EQ(kitchen.type, utility_enum::PRINTER_SYSTEM_LOCAL);
    EXPECT_TRUE(kitchen.hostAddress.isEmpty());
    EXPECT_TRUE(kitchen.port.isEmpty());

    const PrinterInfo bar = load("Bar");
    EXPECT_EQ(bar.portName, "LPT1");
    EXPECT_EQ(bar.connectionType, "local");
    EXPECT_EQ(bar.type, utility_enum::PRINTER_SYSTEM_LOCAL);

    const PrinterInfo counter = load("Counter");
    EXPECT_EQ(counter.portName, "COM1");
    EXPECT_EQ(counter.connectionType, "local");
    EXPECT_EQ(counter.type, utility_enum::PRINTER_SYSTEM_LOCAL);
}

TEST_F(PrinterRecordTest, SocketQueueIsNetworkWithItsAddressAndTheLowByteOfPort9100)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");
    const PrinterInfo info = load("Kitchen");
    EXPECT_EQ(info.portName, "IP_192.168.1.20");
    EXPECT_EQ(info.connectionType, "network");
    EXPECT_EQ(info.type, utility_enum::PRINTER_SYSTEM_NETWORK);
    // The port's HostName is empty for an address, so its IPAddress is taken.
    EXPECT_EQ(info.hostAddress, "192.168.1.20");
    // 9100 = 0x238C: one character of code 0x8C = 140, as the client has always stored it.
    ASSERT_EQ(info.port.size(), 1);
    EXPECT_EQ(info.port.at(0).unicode(), 140);
}

TEST_F(PrinterRecordTest, IppQueueByHostNameIsNetworkWithTheHostName)
{
    m_fake.spooler.addQueue("Terrace", "XP-58", "ipp://kitchen-printer.local/ipp/print");
    const PrinterInfo info = load("Terrace");
    EXPECT_EQ(info.portName, "IP_kitchen-printer.local");
    EXPECT_EQ(info.connectionType, "network");
    EXPECT_EQ(info.type, utility_enum::PRINTER_SYSTEM_NETWORK);
    EXPECT_EQ(info.hostAddress, "kitchen-printer.local");
    // The IPP port 631 = 0x277 keeps its low byte 0x77, "w".
    EXPECT_EQ(info.port, "w");
}

TEST_F(PrinterRecordTest, ConnectionTypeStaysAsItWasWithoutThePortView)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");
    PRINTER_INFO_2W* record = nullptr;
    ASSERT_TRUE(PrintServics::queryPrinterInfo2("Kitchen", record));
    m_fake.spooler.setReachable(false);  // the ports key cannot be made now

    PrinterInfo stored;
    stored.connectionType = QStringLiteral("network");
    stored.hostAddress = QStringLiteral("192.168.1.20");
    Printer::loadDataFromPRINTER_INFO2(stored, record);
    EXPECT_EQ(stored.portName, "IP_192.168.1.20");
    EXPECT_EQ(stored.connectionType, "network");
    EXPECT_EQ(stored.hostAddress, "192.168.1.20");
    EXPECT_EQ(stored.type, utility_enum::PRINTER_SYSTEM_NETWORK);

    PrinterInfo fresh;
    Printer::loadDataFromPRINTER_INFO2(fresh, record);
    EXPECT_TRUE(fresh.connectionType.isEmpty());
    EXPECT_EQ(fresh.type, utility_enum::PRINTER_UNUSABLE);
    PrintServics::freePrinterInfo2(record);
}

TEST_F(PrinterRecordTest, PortWithoutTcpIpEntryIsUnsupported)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");
    const PrinterInfo info = loadRecord(QStringLiteral("PORTPROMPT:"));
    EXPECT_EQ(info.portName, "PORTPROMPT");
    EXPECT_EQ(info.connectionType, "unsupported");
    EXPECT_EQ(info.type, utility_enum::PRINTER_UNUSABLE);

    m_fake.spooler.addQueue("Share", "XP-58", "dnssd://Front%20Desk._pdl-datastream._tcp.local/");
    EXPECT_EQ(load("Share").connectionType, "unsupported");
}

TEST_F(PrinterRecordTest, PortIsCutAtItsColonAndLocalPrefixesIgnoreCase)
{
    PrinterInfo com = loadRecord(QStringLiteral("COM3:"));
    EXPECT_EQ(com.portName, "COM3");
    EXPECT_EQ(com.connectionType, "local");
    EXPECT_EQ(com.type, utility_enum::PRINTER_SYSTEM_LOCAL);

    EXPECT_EQ(loadRecord(QStringLiteral("usb001")).connectionType, "local");
    EXPECT_EQ(loadRecord(QStringLiteral("lpt2:")).connectionType, "local");
    EXPECT_EQ(loadRecord(QStringLiteral("com4")).portName, "com4");
}

TEST_F(PrinterRecordTest, WidthComesFromTheDriverNameUnlessOneIsStored)
{
    EXPECT_EQ(loadRecord(QStringLiteral("USB001"), QStringLiteral("POS-80 Series")).width, "80mm");
    EXPECT_EQ(loadRecord(QStringLiteral("USB001"), QStringLiteral("XP-58")).width, "58mm");
    EXPECT_EQ(loadRecord(QStringLiteral("USB001"), QStringLiteral("Generic 8 0 Thermal")).width, "58mm");

    PRINTER_INFO_2W record;
    record.pDriverName = QStringLiteral("POS-80 Series");
    record.pPortName = QStringLiteral("USB001");
    PrinterInfo stored;
    stored.width = QStringLiteral("58mm");
    Printer::loadDataFromPRINTER_INFO2(stored, &record);
    EXPECT_EQ(stored.width, "58mm");
}

TEST_F(PrinterRecordTest, NullRecordLeavesTheInfoAlone)
{
    PrinterInfo info = printerRecord(4, "Kitchen", utility_enum::PRINTER_SYSTEM_NETWORK);
    info.portName = QStringLiteral("IP_10.0.0.5");
    const QString before = info.toJson();
    Printer::loadDataFromPRINTER_INFO2(info, nullptr);
    EXPECT_EQ(info.toJson(), before);
}

TEST_F(PrinterRecordTest, SystemPrinterInfoRefreshesAKnownPrinterOnly)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "usb://Vendor/TM-T20");
    PrinterInfo known = printerRecord(2, "kitchen", utility_enum::PRINTER_SYSTEM_LOCAL);
    known.width.clear();
    EXPECT_TRUE(Printer::systemPrinterInfo(known));
    EXPECT_EQ(known.id, 2);
    EXPECT_EQ(known.name, "Kitchen");
    EXPECT_EQ(known.model, "POS-80 Series");
    EXPECT_EQ(known.width, "80mm");
    EXPECT_EQ(known.portName, "USB001");

    PrinterInfo unknown = printerRecord(3, "Gone", utility_enum::PRINTER_SYSTEM_LOCAL);
    const QString before = unknown.toJson();
    EXPECT_FALSE(Printer::systemPrinterInfo(unknown));
    EXPECT_EQ(unknown.toJson(), before);
}

TEST_F(PrinterRecordTest, LocalSpoolerPrinterIsConnectedWhileItsQueueWorks)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "usb://Vendor/TM-T20");
    const PrinterInfo kitchen = printerRecord(1, "Kitchen", utility_enum::PRINTER_SYSTEM_LOCAL);
    EXPECT_TRUE(Printer::isConnected(kitchen));
    m_fake.spooler.setStopped("Kitchen", true);
    EXPECT_FALSE(Printer::isConnected(kitchen));
    m_fake.spooler.setStopped("Kitchen", false);
    m_fake.spooler.setAcceptingJobs("Kitchen", false);
    EXPECT_FALSE(Printer::isConnected(kitchen));

    EXPECT_FALSE(Printer::isConnected(printerRecord(2, "Gone", utility_enum::PRINTER_SYSTEM_LOCAL)));
}

TEST_F(PrinterRecordTest, PrinterOnAVirtualComPortIsConnectedWhileItsDeviceIsThere)
{
    m_fake.spooler.addQueue("Counter", "XP-58", "serial:/dev/ttyUSB0?baud=115200");
    m_fake.serialPorts.addPort("/dev/ttyUSB0", true, true);
    const PrinterInfo counter = printerRecord(1, "Counter", utility_enum::PRINTER_SYSTEM_LOCAL);
    EXPECT_TRUE(Printer::isConnected(counter));
    m_fake.serialPorts.setPresent("/dev/ttyUSB0", false);
    EXPECT_FALSE(Printer::isConnected(counter));
    // The device decides, not the queue.
    m_fake.spooler.setStopped("Counter", true);
    m_fake.serialPorts.setPresent("/dev/ttyUSB0", true);
    EXPECT_TRUE(Printer::isConnected(counter));
}

TEST_F(PrinterRecordTest, NetworkPrinterIsConnectedWhenItsHostAnswersAPing)
{
    m_fake.spooler.addQueue("Loopback", "POS-80", "socket://127.0.0.1:9100");
    EXPECT_TRUE(Printer::isConnected(printerRecord(1, "Loopback", utility_enum::PRINTER_SYSTEM_NETWORK)));
    // A name that never resolves: nobody answers.
    m_fake.spooler.addQueue("Nowhere", "POS-80", "socket://printer.invalid:9100");
    EXPECT_FALSE(Printer::isConnected(printerRecord(2, "Nowhere", utility_enum::PRINTER_SYSTEM_NETWORK)));
}

TEST_F(PrinterRecordTest, LibusbPrinterIsConnectedWhileASupportedOneIsAttached)
{
    const PrinterInfo libusb = printerRecord(0, "Libusb", utility_enum::PRINTER_LIBUSB);
    EXPECT_FALSE(Printer::isConnected(libusb));
    m_fake.usbBus.attach(usbDevice("002", 0x1234, 0x5678));  // a printer not on the list
    m_fake.usbBus.attach(usbDevice("003", printer_test::kSupportedVendor, printer_test::kSupportedProduct, false));
    EXPECT_FALSE(Printer::isConnected(libusb));
    m_fake.usbBus.attach(usbDevice("004", printer_test::kSupportedVendor, printer_test::kSupportedProduct));
    EXPECT_TRUE(Printer::isConnected(libusb));
}

TEST_F(PrinterRecordTest, PrintSupportAndUnknownTypesAreAlwaysConnected)
{
    EXPECT_TRUE(Printer::isConnected(printerRecord(0, "Usb", utility_enum::PRINTER_USB_PRINT_SUPPORT, false)));
    EXPECT_TRUE(Printer::isConnected(printerRecord(0, "Odd", utility_enum::PrinterType(7), false)));
    EXPECT_TRUE(Printer::isConnected(printerRecord(0, "None", utility_enum::PRINTER_UNUSABLE, false)));
}

TEST(UsbPrinterList, ReadsHexadecimalPairsAndSkipsOtherLines)
{
    using service_business::usb_printer_list::parseSupportedList;
    const auto list =
        parseSupportedList(QStringLiteral("0416,5011\r\n\n 1F C9 , 2016 \r\nbad line\n1,2,3\nzz,1\n0x0483,5720"));
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(list[0].vendorId, 0x0416);
    EXPECT_EQ(list[0].productId, 0x5011);
    EXPECT_EQ(list[1].vendorId, 0x1fc9);
    EXPECT_EQ(list[1].productId, 0x2016);
    EXPECT_EQ(list[2].vendorId, 0x0483);
    EXPECT_EQ(list[2].productId, 0x5720);
    EXPECT_TRUE(parseSupportedList(QString()).isEmpty());
}

TEST(UsbPrinterList, FindsTheFirstAttachedPrinterOfTheDriversPackageList)
{
    FakePrintSystem fake;
    fake.usbBus.attach(usbDevice("002", 0x1234, 0x5678));
    fake.usbBus.attach(usbDevice("005", 0x1fc9, 0x2016));
    fake.usbBus.attach(usbDevice("006", printer_test::kSupportedVendor, printer_test::kSupportedProduct));
    UsbDevice found;
    ASSERT_TRUE(service_business::usb_printer_list::findSupportedPrinter(found));
    EXPECT_EQ(found.filename, "005");
    fake.usbBus.detachAll();
    fake.usbBus.attach(usbDevice("002", 0x1234, 0x5678));
    EXPECT_FALSE(service_business::usb_printer_list::findSupportedPrinter(found));
}
