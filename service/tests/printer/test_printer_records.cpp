// Spooler records made into PrinterInfo, and whether a printer counts as connected, on the fake print
// services (the port names and the TCP/IP port view come from the fake spooler's queues).
#include "printer_test_support.h"

#include "printer/usb_printer_list_p.h"
#include "service_business/printer.h"

#include <gtest/gtest.h>

using namespace utility_business;
using printer_test::printerRecord;
using service_business::Printer;
using systemif::print::FakePrintSystem;
using systemif::print::PRINTER_INFO_2W;
using systemif::print::PrintServics;

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

}  // namespace

TEST_F(PrinterRecordTest, DeviceUriGivesPortNameConnectionTypeAndAddress)
{
    struct Case {
        const char* uri;
        const char* portName;
        const char* connectionType;
        utility_enum::PrinterType type;
        const char* host;
        QString port;
    };
    // 9100 = 0x238C keeps one character of code 0x8C = 140, as the client has always stored it; the IPP
    // port 631 = 0x277 keeps 0x77, "w". An address has no HostName, so its IPAddress is taken.
    const Case cases[] = {
        {"usb://Vendor/TM-T20?serial=1", "USB001", "local", utility_enum::PRINTER_SYSTEM_LOCAL, "", ""},
        {"parallel:/dev/lp0", "LPT1", "local", utility_enum::PRINTER_SYSTEM_LOCAL, "", ""},
        {"serial:/dev/ttyS0?baud=9600", "COM1", "local", utility_enum::PRINTER_SYSTEM_LOCAL, "", ""},
        {"socket://192.168.1.20:9100", "IP_192.168.1.20", "network", utility_enum::PRINTER_SYSTEM_NETWORK,
         "192.168.1.20", QString(QChar(140))},
        {"ipp://kitchen-printer.local/ipp/print", "IP_kitchen-printer.local", "network",
         utility_enum::PRINTER_SYSTEM_NETWORK, "kitchen-printer.local", "w"},
    };
    for (const Case& c : cases) m_fake.spooler.addQueue(QLatin1String(c.portName), "POS-80 Series", c.uri);
    for (const Case& c : cases) {
        const PrinterInfo info = load(QLatin1String(c.portName));
        EXPECT_EQ(info.model, "POS-80 Series") << c.uri;
        EXPECT_EQ(info.portName, c.portName) << c.uri;
        EXPECT_EQ(info.connectionType, c.connectionType) << c.uri;
        EXPECT_EQ(info.type, c.type) << c.uri;
        EXPECT_EQ(info.hostAddress, c.host) << c.uri;
        EXPECT_EQ(info.port, c.port) << c.uri;
    }
    m_fake.spooler.addQueue("Share", "XP-58", "dnssd://Front%20Desk._pdl-datastream._tcp.local/");
    EXPECT_EQ(load("Share").connectionType, "unsupported");
}

TEST_F(PrinterRecordTest, PortIsCutAtItsColonAndOnlyLocalPrefixesOrTcpIpEntriesAreSupported)
{
    m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://192.168.1.20:9100");  // a TCP/IP port view
    const struct {
        const char* port;
        const char* portName;
        const char* connectionType;
        utility_enum::PrinterType type;
    } cases[] = {
        {"COM3:", "COM3", "local", utility_enum::PRINTER_SYSTEM_LOCAL},
        {"usb001", "usb001", "local", utility_enum::PRINTER_SYSTEM_LOCAL},
        {"lpt2:", "lpt2", "local", utility_enum::PRINTER_SYSTEM_LOCAL},
        {"PORTPROMPT:", "PORTPROMPT", "unsupported", utility_enum::PRINTER_UNUSABLE},
    };
    for (const auto& c : cases) {
        const PrinterInfo info = loadRecord(QLatin1String(c.port));
        EXPECT_EQ(info.portName, c.portName) << c.port;
        EXPECT_EQ(info.connectionType, c.connectionType) << c.port;
        EXPECT_EQ(info.type, c.type) << c.port;
    }
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

TEST_F(PrinterRecordTest, SpoolerPrinterIsConnectedWhileItsQueueWorksOrItsHostAnswers)
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

    m_fake.spooler.addQueue("Loopback", "POS-80", "socket://127.0.0.1:9100");
    EXPECT_TRUE(Printer::isConnected(printerRecord(3, "Loopback", utility_enum::PRINTER_SYSTEM_NETWORK)));
    m_fake.spooler.addQueue("Nowhere", "POS-80", "socket://printer.invalid:9100");
    EXPECT_FALSE(Printer::isConnected(printerRecord(4, "Nowhere", utility_enum::PRINTER_SYSTEM_NETWORK)));
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
