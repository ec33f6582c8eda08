// Printer records as the spooler's queues give them: names, drivers, port names and the offline bit.
#include "systemif/print.h"
#include "systemif/print_fake.h"

#include <gtest/gtest.h>

using namespace systemif::print;

namespace {

class PrinterRecords : public ::testing::Test {
protected:
    // The port name of a printer whose queue sends to `uri`, among the queues already added.
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

TEST_F(PrinterRecords, UsbQueuesAreNumberedPerDeviceInQueueOrder)
{
    fake.spooler.addQueue("C", "POS-58", "usb://Vendor/Second?serial=2");
    fake.spooler.addQueue("A", "POS-80", "usb://Vendor/First?serial=1");
    fake.spooler.addQueue("B", "POS-80 copy", "usb://Vendor/First?serial=1");
    EXPECT_EQ(portOf("A"), "USB001");
    EXPECT_EQ(portOf("B"), "USB001") << "two queues on one device share its port";
    EXPECT_EQ(portOf("C"), "USB002");
}

TEST_F(PrinterRecords, ParallelAndSerialDevicesGiveLptAndComPorts)
{
    fake.spooler.addQueue("lp0", "", "parallel:/dev/lp0");
    fake.spooler.addQueue("lp2", "", "parallel:/dev/lp2");
    fake.spooler.addQueue("onboard", "", "serial:/dev/ttyS0?baud=9600");
    fake.spooler.addQueue("adapter", "", "serial:/dev/ttyUSB0?baud=115200");
    fake.spooler.addQueue("cdc", "", "serial:/dev/ttyACM1");
    fake.spooler.addQueue("bluetooth", "", "serial:/dev/rfcomm0");
    EXPECT_EQ(portOf("lp0"), "LPT1");
    EXPECT_EQ(portOf("lp2"), "LPT3");
    EXPECT_EQ(portOf("onboard"), "COM1");
    EXPECT_EQ(portOf("adapter"), "COM101");
    EXPECT_EQ(portOf("cdc"), "COM202");
    EXPECT_EQ(portOf("bluetooth"), "COM301");
}

TEST_F(PrinterRecords, NetworkQueuesGiveIpPortsOfTheirHost)
{
    fake.spooler.addQueue("raw", "", "socket://192.168.1.20:9100");
    fake.spooler.addQueue("ipp", "", "ipp://printer.example/ipp/print");
    fake.spooler.addQueue("ipps", "", "ipps://secure.example:8631/ipp/print");
    fake.spooler.addQueue("lpd", "", "lpd://10.0.0.7/queue");
    fake.spooler.addQueue("http", "", "http://10.0.0.8:631/printers/x");
    fake.spooler.addQueue("v6", "", "socket://[fe80::1]:9100");
    EXPECT_EQ(portOf("raw"), "IP_192.168.1.20");
    EXPECT_EQ(portOf("ipp"), "IP_printer.example");
    EXPECT_EQ(portOf("ipps"), "IP_secure.example");
    EXPECT_EQ(portOf("lpd"), "IP_10.0.0.7");
    EXPECT_EQ(portOf("http"), "IP_10.0.0.8");
    EXPECT_EQ(portOf("v6"), "IP_fe80__1") << "no colon, which the service would cut the name at";
}

TEST_F(PrinterRecords, OtherDevicesGiveTheirScheme)
{
    fake.spooler.addQueue("file", "", "file:/dev/null");
    fake.spooler.addQueue("dnssd", "", "dnssd://Printer._ipp._tcp.local/");
    fake.spooler.addQueue("odd", "", "parallel:/dev/parport0");
    fake.spooler.addQueue("none", "", "");
    EXPECT_EQ(portOf("file"), "file");
    EXPECT_EQ(portOf("dnssd"), "dnssd");
    EXPECT_EQ(portOf("odd"), "parallel");
    EXPECT_EQ(portOf("none"), "");
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
    EXPECT_EQ(infos[0].pPrinterName, "ready");
    EXPECT_EQ(infos[0].Attributes & PRINTER_ATTRIBUTE_WORK_OFFLINE, 0u);
    EXPECT_EQ(infos[1].pPrinterName, "rejecting");
    EXPECT_EQ(infos[1].Attributes & PRINTER_ATTRIBUTE_WORK_OFFLINE, PRINTER_ATTRIBUTE_WORK_OFFLINE);
    EXPECT_EQ(infos[2].pPrinterName, "stopped");
    EXPECT_EQ(infos[2].Attributes & PRINTER_ATTRIBUTE_WORK_OFFLINE, PRINTER_ATTRIBUTE_WORK_OFFLINE);
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

TEST_F(PrinterRecords, UnknownPrinterOrSilentSpoolerGivesNoRecord)
{
    fake.spooler.addQueue("Kitchen", "", "usb://x/y");
    PRINTER_INFO_2W* info = reinterpret_cast<PRINTER_INFO_2W*>(0x1);
    EXPECT_FALSE(PrintServics::queryPrinterInfo2("Bar", info));
    EXPECT_EQ(info, nullptr);

    fake.spooler.setReachable(false);
    EXPECT_FALSE(PrintServics::queryPrinterInfo2("Kitchen", info));
    int count = 7;
    PRINTER_INFO_2W* infos = reinterpret_cast<PRINTER_INFO_2W*>(0x1);
    EXPECT_FALSE(PrintServics::printerInfo2List(count, infos));
    EXPECT_EQ(count, 0);
    EXPECT_EQ(infos, nullptr);
}

TEST_F(PrinterRecords, NoPrintersIsAnEmptyListNotAFailure)
{
    int count = 7;
    PRINTER_INFO_2W* infos = nullptr;
    EXPECT_TRUE(PrintServics::printerInfo2List(count, infos));
    EXPECT_EQ(count, 0);
    PrintServics::freePrinterInfo2List(infos);
}
