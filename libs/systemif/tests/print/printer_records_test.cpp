// Printer records as the spooler's queues give them: names, drivers, port names and the offline bit.
#include "systemif/print.h"
#include "systemif/print_fake.h"

#include <gtest/gtest.h>

using namespace systemif::print;

namespace {

class PrinterRecords : public ::testing::Test {
protected:
    QString portOf(const QString& name)
    {
        PRINTER_INFO_2W* info = nullptr;
        if (!PrintServics::queryPrinterInfo2(name, info)) return QStringLiteral("<no record>");
        const QString port = info->pPortName;
        PrintServics::freePrinterInfo2(info);
        return port;
    }

    FakePrintSystem fake;
};

}  // namespace

TEST_F(PrinterRecords, PortNameFollowsTheDeviceOfTheQueue)
{
    // USB devices are numbered in the order of their queues; two queues on one device share its port.
    const struct {
        const char* queue;
        const char* uri;
        const char* port;
    } cases[] = {
        {"C", "usb://Vendor/Second?serial=2", "USB002"},
        {"A", "usb://Vendor/First?serial=1", "USB001"},
        {"B", "usb://Vendor/First?serial=1", "USB001"},
        {"lp0", "parallel:/dev/lp0", "LPT1"},
        {"lp2", "parallel:/dev/lp2", "LPT3"},
        {"onboard", "serial:/dev/ttyS0?baud=9600", "COM1"},
        {"adapter", "serial:/dev/ttyUSB0?baud=115200", "COM101"},
        {"cdc", "serial:/dev/ttyACM1", "COM202"},
        {"bluetooth", "serial:/dev/rfcomm0", "COM301"},
        {"raw", "socket://192.168.1.20:9100", "IP_192.168.1.20"},
        {"ipp", "ipp://printer.example/ipp/print", "IP_printer.example"},
        {"ipps", "ipps://secure.example:8631/ipp/print", "IP_secure.example"},
        {"lpd", "lpd://10.0.0.7/queue", "IP_10.0.0.7"},
        {"http", "http://10.0.0.8:631/printers/x", "IP_10.0.0.8"},
        {"v6", "socket://[fe80::1]:9100", "IP_fe80__1"},  // no colon, which the service would cut the name at
        {"file", "file:/dev/null", "file"},
        {"dnssd", "dnssd://Printer._ipp._tcp.local/", "dnssd"},
        {"odd", "parallel:/dev/parport0", "parallel"},
        {"none", "", ""},
    };
    for (const auto& c : cases) fake.spooler.addQueue(c.queue, "", c.uri);
    for (const auto& c : cases) EXPECT_EQ(portOf(c.queue), c.port) << c.uri;
}

TEST_F(PrinterRecords, StoppedOrRejectingQueueWorksOffline)
{
    fake.spooler.addQueue("ready", "POS-80", "socket://10.0.0.1");
    fake.spooler.addQueue("stopped", "POS-80", "socket://10.0.0.2");
    fake.spooler.addQueue("rejecting", "POS-80", "socket://10.0.0.3");
    fake.spooler.setStopped("stopped", true);
    fake.spooler.setAcceptingJobs("rejecting", false);
    int count = 0;
    PRINTER_INFO_2W* infos = nullptr;
    ASSERT_TRUE(PrintServics::printerInfo2List(count, infos));
    ASSERT_EQ(count, 3);
    const std::pair<const char*, unsigned> expected[] = {
        {"ready", 0u}, {"rejecting", PRINTER_ATTRIBUTE_WORK_OFFLINE}, {"stopped", PRINTER_ATTRIBUTE_WORK_OFFLINE}};
    for (int i = 0; i < count; ++i) {
        EXPECT_EQ(infos[i].pPrinterName, expected[i].first);
        EXPECT_EQ(infos[i].Attributes & PRINTER_ATTRIBUTE_WORK_OFFLINE, expected[i].second) << expected[i].first;
    }
    PrintServics::freePrinterInfo2List(infos);
    EXPECT_EQ(infos, nullptr);
}

TEST_F(PrinterRecords, QueryFindsANameWhateverItsCaseAndFillsTheRecord)
{
    fake.spooler.addQueue("Kitchen", "POS-80 Series", "socket://10.0.0.1:9100");
    PRINTER_INFO_2W* info = nullptr;
    ASSERT_TRUE(PrintServics::queryPrinterInfo2("kitchen", info));
    EXPECT_EQ(info->pPrinterName, "Kitchen");
    EXPECT_EQ(info->pDriverName, "POS-80 Series");
    EXPECT_EQ(info->pPortName, "IP_10.0.0.1");
    PrintServics::freePrinterInfo2(info);
    EXPECT_EQ(info, nullptr);
}

TEST_F(PrinterRecords, UnknownPrinterOrSilentSpoolerGivesNoRecordButNoPrintersIsAnEmptyList)
{
    int count = 7;
    PRINTER_INFO_2W* infos = nullptr;
    EXPECT_TRUE(PrintServics::printerInfo2List(count, infos));
    EXPECT_EQ(count, 0);
    PrintServics::freePrinterInfo2List(infos);

    fake.spooler.addQueue("Kitchen", "", "usb://x/y");
    PRINTER_INFO_2W* info = reinterpret_cast<PRINTER_INFO_2W*>(0x1);
    EXPECT_FALSE(PrintServics::queryPrinterInfo2("Bar", info));
    EXPECT_EQ(info, nullptr);

    fake.spooler.setReachable(false);
    EXPECT_FALSE(PrintServics::queryPrinterInfo2("Kitchen", info));
    count = 7;
    infos = reinterpret_cast<PRINTER_INFO_2W*>(0x1);
    EXPECT_FALSE(PrintServics::printerInfo2List(count, infos));
    EXPECT_EQ(count, 0);
    EXPECT_EQ(infos, nullptr);
}
