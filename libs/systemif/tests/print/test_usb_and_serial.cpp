// USB printers (libusb and print-support) and virtual COM ports: the operations over the fakes, and the
// Linux backends over directories of our own that look like /dev and /sys.
#include "systemif/print.h"
#include "systemif/print_fake.h"

#include "serial_ports_linux_p.h"
#include "usb_bus_libusb_p.h"
#include "usb_print_support_linux_p.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace systemif::print;

namespace {

UsbDevice device(const char* filename, unsigned short vendor, unsigned short product, bool printer)
{
    UsbDevice device;
    device.bus = "001";
    device.filename = filename;
    device.descriptor.idVendor = vendor;
    device.descriptor.idProduct = product;
    device.hasPrinterInterface = printer;
    return device;
}

bool makeFile(const QString& path, const QByteArray& content = {})
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

}  // namespace

TEST(LibusbPrinters, ListKeepsTheDevicesWithAPrinterInterfaceInBusOrderAndPrintWritesToThem)
{
    FakePrintSystem fake;
    fake.usbBus.attach(device("002", 0x046d, 0xc077, false));
    fake.usbBus.attach(device("003", 0x0416, 0x5011, true));
    fake.usbBus.attach(device("004", 0x04b8, 0x0202, true));
    EXPECT_EQ(PrintServics::allUsbDevice().size(), 3);
    const QList<UsbDevice> printers = PrintServics::allUsbPrinter();
    ASSERT_EQ(printers.size(), 2);
    EXPECT_EQ(printers[0].descriptor.idVendor, 0x0416);
    EXPECT_EQ(printers[1].filename, "004");

    EXPECT_TRUE(PrintServics::libusbPrint(Document("\x1b@", 2), &printers[0]));
    EXPECT_EQ(fake.usbBus.written("003"), QList<QByteArray>{QByteArray("\x1b@")});
    EXPECT_FALSE(PrintServics::libusbPrint(Document("x", 1), nullptr));
    fake.usbBus.detachAll();
    EXPECT_FALSE(PrintServics::libusbPrint(Document("x", 1), &printers[0])) << "unplugged";
}

TEST(LibusbPrinters, RealBusScanGivesDevicesThatCanBeLookedUpAgain)
{
    // Whatever this machine has attached (often nothing): the scan must work, repeatedly.
    LibusbBus bus;
    const QList<UsbDevice> first = bus.devices();
    const QList<UsbDevice> second = bus.devices();
    ASSERT_EQ(first.size(), second.size());
    for (int i = 0; i < first.size(); ++i) EXPECT_EQ(first[i].filename, second[i].filename);
    EXPECT_FALSE(bus.write(device("999", 0xffff, 0xffff, true), Document("x", 1))) << "no such device";
}

TEST(UsbPrintSupportPrinters, OperationsGoToTheChosenBackend)
{
    FakePrintSystem fake;
    fake.usbPrintSupport.attach("/dev/usb/lp0");
    EXPECT_EQ(PrintServics::collectUsbPrintSupportPrinters(), QStringList{"/dev/usb/lp0"});
    EXPECT_TRUE(PrintServics::printByUsbPrintSupportPrinter(Document("ab", 2), "/dev/usb/lp0"));
    EXPECT_EQ(fake.usbPrintSupport.written("/dev/usb/lp0"), QList<QByteArray>{QByteArray("ab")});
    fake.usbPrintSupport.setWriteResult(false);
    EXPECT_FALSE(PrintServics::printByUsbPrintSupportPrinter(Document("ab", 2), "/dev/usb/lp0"));
    fake.usbPrintSupport.detachAll();
    EXPECT_TRUE(PrintServics::collectUsbPrintSupportPrinters().isEmpty());
}

// The kernel's usblp nodes: listed in number order, written byte-exact, and nothing else is ever written.
TEST(UsbPrintSupportPrinters, UsblpListsItsNodesInNumberOrderAndWritesOnlyToThem)
{
    QTemporaryDir dev;
    for (const char* name : {"lp10", "lp2", "lp0", "lpx", "hiddev0"}) ASSERT_TRUE(makeFile(dev.filePath(name)));
    ASSERT_TRUE(makeFile(dev.filePath("settings.json"), "{}"));
    UsblpPrintSupport printers(dev.path());
    EXPECT_EQ(printers.printers(), (QStringList{dev.filePath("lp0"), dev.filePath("lp2"), dev.filePath("lp10")}));

    const QByteArray bytes("\x1b@\x00\xff\x1dVA\x00", 8);
    EXPECT_TRUE(printers.write(dev.filePath("lp0"), Document(bytes)));
    EXPECT_EQ(contentOf(dev.filePath("lp0")), bytes);
    for (const char* path : {"settings.json", "../lp0", "lp1", "lpx"})
        EXPECT_FALSE(printers.write(dev.filePath(path), Document("x", 1))) << path;
    EXPECT_EQ(contentOf(dev.filePath("settings.json")), "{}");
}

// A sysfs tree with an on-board port (ttyS0, a platform device) and a USB adapter (ttyUSB0 below a USB
// interface of a USB device).
class SysfsTree : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_sys.isValid());
        const QString usbDevice = m_sys.filePath("devices/pci0000:00/0000:00:14.0/usb1/1-2");
        const QString usbInterface = usbDevice + "/1-2:1.0";
        const QString adapter = usbInterface + "/ttyUSB0";
        const QString platform = m_sys.filePath("devices/platform/serial8250/tty/ttyS0");
        for (const QString& dir : {adapter, platform, m_sys.filePath("bus/usb"), m_sys.filePath("bus/platform"),
                                   m_sys.filePath("class/tty/ttyUSB0"), m_sys.filePath("class/tty/ttyS0")})
            ASSERT_TRUE(QDir().mkpath(dir));
        ASSERT_TRUE(QFile::link(m_sys.filePath("bus/usb"), usbDevice + "/subsystem"));
        ASSERT_TRUE(QFile::link(m_sys.filePath("bus/usb"), usbInterface + "/subsystem"));
        const QString serial8250 = m_sys.filePath("devices/platform/serial8250");
        ASSERT_TRUE(QFile::link(m_sys.filePath("bus/platform"), serial8250 + "/subsystem"));
        ASSERT_TRUE(QFile::link(adapter, m_sys.filePath("class/tty/ttyUSB0/device")));
        ASSERT_TRUE(QFile::link(serial8250, m_sys.filePath("class/tty/ttyS0/device")));
    }

    QTemporaryDir m_sys;
};

// A USB adapter is known by sysfs while it is plugged in, and by the name only USB serial devices get once
// it is unplugged, so that its printer then shows as not connected.
TEST_F(SysfsTree, TtyBelowAUsbDeviceOrWithAUsbSerialNameIsAVirtualComPortAndPresentWhileItsNodeExists)
{
    SysfsSerialPorts ports(m_sys.path());
    for (const char* usb : {"/dev/ttyUSB0", "/dev/ttyACM7", "/dev/serial/by-id/usb-POS_Printer-if00-port0",
                            "/dev/serial/by-path/pci-0000:00:14.0-usb-0:2:1.0-port0"})
        EXPECT_TRUE(ports.isUsbDevice(usb)) << usb;
    for (const char* other : {"/dev/ttyS0", "/dev/ttyS5", "/dev/..", "/dev/serial/by-path/platform-serial8250"})
        EXPECT_FALSE(ports.isUsbDevice(other)) << other;

    const QString node = m_sys.filePath("dev/ttyUSB0");
    EXPECT_FALSE(ports.isPresent(node));
    ASSERT_TRUE(makeFile(node));
    EXPECT_TRUE(ports.isPresent(node));
    EXPECT_FALSE(ports.isPresent(""));
}

TEST(VirtualComPorts, ComPortIsResolvedThroughTheQueueThatUsesIt)
{
    FakePrintSystem fake;
    fake.spooler.addQueue("Adapter", "", "serial:/dev/ttyUSB0?baud=9600");
    fake.spooler.addQueue("Onboard", "", "serial:/dev/ttyS0");
    fake.serialPorts.addPort("/dev/ttyUSB0", true, true);
    fake.serialPorts.addPort("/dev/ttyS0", false, true);
    const QString usbKey = "SYSTEM\\CurrentControlSet\\Enum\\USB";
    EXPECT_TRUE(PrintServics::isVirtualCOMPort("COM101", usbKey));
    EXPECT_TRUE(PrintServics::isVirtualCOMPort("com101:", usbKey));
    EXPECT_FALSE(PrintServics::isVirtualCOMPort("COM1", usbKey));
    EXPECT_FALSE(PrintServics::isVirtualCOMPort("COM7", usbKey)) << "no queue uses it";
    EXPECT_TRUE(PrintServics::isVirtualCOMPortConnected("COM101"));
    fake.serialPorts.setPresent("/dev/ttyUSB0", false);
    EXPECT_FALSE(PrintServics::isVirtualCOMPortConnected("COM101"));
    EXPECT_FALSE(PrintServics::isVirtualCOMPortConnected("COM7"));
}
