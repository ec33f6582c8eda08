// The Standard TCP/IP ports, read through the registry-shaped view the printer code uses.
#include "systemif/ports.h"
#include "systemif/print_fake.h"

#include <gtest/gtest.h>

using namespace systemif::print;
using namespace systemif::win;

namespace {

common::RefPtr<RegKey> ports() { return RegKey::getExistKey(HKEY_LOCAL_MACHINE, kStandardTcpIpPortsKey, KEY_READ); }

}  // namespace

// Only network queues have a port subkey; the first queue of a port gives its values, an address goes to
// IPAddress and a name to HostName (the other empty), and the port number is the URI's else the protocol's.
TEST(PortsView, NetworkQueuesGivePortSubkeysWithAddressOrHostNameAndPortNumber)
{
    FakePrintSystem fake;
    char queue = 'a';  // names in the order of adding, so that "first" means the same in both orders
    for (const char* uri : {"usb://Vendor/Model", "parallel:/dev/lp0", "serial:/dev/ttyS0", "file:/dev/null",
                            "socket://192.168.1.20:9100", "ipp://10.0.0.2/ipp/print", "lpd://10.0.0.3/queue",
                            "ipps://10.0.0.4/ipp/print", "https://10.0.0.5/ipp", "socket://10.0.0.6:9101",
                            "socket://kitchen-printer.local", "ipp://192.168.1.20/ipp/print", "escpos://10.0.0.7",
                            "escpos://[fd00::7]:9102"})
        fake.spooler.addQueue(QString(QLatin1Char(queue++)), "", uri);
    const auto key = ports();
    ASSERT_TRUE(key);
    const struct {
        const char* subkey;
        const char* address;
        const char* host;
        int port;
    } expected[] = {{"IP_10.0.0.2", "10.0.0.2", "", 631},          {"IP_10.0.0.3", "10.0.0.3", "", 515},
                    {"IP_10.0.0.4", "10.0.0.4", "", 631},          {"IP_10.0.0.5", "10.0.0.5", "", 443},
                    {"IP_10.0.0.6", "10.0.0.6", "", 9101},         {"IP_192.168.1.20", "192.168.1.20", "", 9100},
                    {"IP_kitchen-printer.local", "", "kitchen-printer.local", 9100},
                    {"IP_10.0.0.7", "10.0.0.7", "", 9100},         {"IP_fd00__7", "fd00::7", "", 9102}};
    QStringList names;
    for (const auto& e : expected) {
        names << e.subkey;
        const auto port = key->subKey(e.subkey);
        ASSERT_TRUE(port) << e.subkey;
        EXPECT_EQ(port->value("IPAddress")->toString("none"), e.address) << e.subkey;
        EXPECT_EQ(port->value("HostName")->toString("none"), e.host) << e.subkey;
        EXPECT_EQ(port->value("PortNumber")->toInt(-1), e.port) << e.subkey;
    }
    names.sort();
    QStringList actual = key->subKeyNames();
    actual.sort();
    EXPECT_EQ(actual, names);
    EXPECT_TRUE(key->hasSubkey("ip_10.0.0.2")) << "subkey names compare case-insensitively";

    fake.spooler.setReachable(false);
    EXPECT_FALSE(ports()) << "the key is missing while the spooler cannot be asked";
}

TEST(PortsView, OnlyThePortsKeyExistsAndItsPathIsCaseInsensitive)
{
    FakePrintSystem fake;
    EXPECT_TRUE(RegKey::getExistKey(HKEY_LOCAL_MACHINE,
                                    "system\\currentcontrolset\\control\\print\\monitors\\standard tcp/ip port\\ports\\",
                                    KEY_READ));
    EXPECT_FALSE(RegKey::getExistKey(HKEY_CURRENT_USER, kStandardTcpIpPortsKey, KEY_READ));
    EXPECT_FALSE(RegKey::getExistKey(HKEY_LOCAL_MACHINE, "SYSTEM\\CurrentControlSet\\Enum\\USB", KEY_READ));
}

TEST(RegKey, ValuesReadTheStoredTypeElseTheDefaultAndAreSetOnce)
{
    EXPECT_EQ(RegValue(QVariant(QString("x"))).toString("d"), "x");
    EXPECT_EQ(RegValue(QVariant(9100)).toString("d"), "d");
    EXPECT_EQ(RegValue(QVariant(9100)).toInt(0), 9100);
    EXPECT_EQ(RegValue(QVariant(QString("515"))).toInt(0), 515);
    EXPECT_EQ(RegValue(QVariant(QString("nine"))).toInt(-1), -1);
    EXPECT_EQ(RegValue(QVariant()).toInt(-1), -1);

    RegKey key("Ports");
    key.addSubKey("IP_1")->setValue("HostName", QString("h"));
    EXPECT_FALSE(key.subKey("IP_2"));
    EXPECT_FALSE(key.subKey("IP_1")->value("IPAddress"));
    key.subKey("IP_1")->setValue("HostName", QString("other"));
    EXPECT_EQ(key.subKey("IP_1")->value("HostName")->toString(""), "h");
}
