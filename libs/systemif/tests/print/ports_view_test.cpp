// The Standard TCP/IP ports, read through the registry-shaped view the printer code uses.
#include "systemif/ports.h"
#include "systemif/print_fake.h"

#include <gtest/gtest.h>

using namespace systemif::print;
using namespace systemif::win;

namespace {

class PortsView : public ::testing::Test {
protected:
    common::RefPtr<RegKey> ports() { return RegKey::getExistKey(HKEY_LOCAL_MACHINE, kStandardTcpIpPortsKey, KEY_READ); }

    FakePrintSystem fake;
};

}  // namespace

TEST_F(PortsView, AddressGoesToIPAddressAndNameToHostNameTheOtherEmpty)
{
    fake.spooler.addQueue("byAddress", "", "socket://192.168.1.20:9100");
    fake.spooler.addQueue("byName", "", "socket://kitchen-printer.local:9100");
    const auto key = ports();
    ASSERT_TRUE(key);
    const auto address = key->subKey("IP_192.168.1.20");
    ASSERT_TRUE(address);
    EXPECT_EQ(address->value("IPAddress")->toString("none"), "192.168.1.20");
    EXPECT_EQ(address->value("HostName")->toString("none"), "");
    const auto name = key->subKey("IP_kitchen-printer.local");
    ASSERT_TRUE(name);
    EXPECT_EQ(name->value("HostName")->toString("none"), "kitchen-printer.local");
    EXPECT_EQ(name->value("IPAddress")->toString("none"), "");
}

TEST_F(PortsView, PortNumberIsTheUrisElseTheProtocols)
{
    fake.spooler.addQueue("a", "", "socket://10.0.0.1");
    fake.spooler.addQueue("b", "", "ipp://10.0.0.2/ipp/print");
    fake.spooler.addQueue("c", "", "lpd://10.0.0.3/queue");
    fake.spooler.addQueue("d", "", "ipps://10.0.0.4/ipp/print");
    fake.spooler.addQueue("e", "", "https://10.0.0.5/ipp");
    fake.spooler.addQueue("f", "", "socket://10.0.0.6:9101");
    const auto key = ports();
    ASSERT_TRUE(key);
    const auto portOf = [&](const char* name) { return key->subKey(name)->value("PortNumber")->toInt(-1); };
    EXPECT_EQ(portOf("IP_10.0.0.1"), 9100);
    EXPECT_EQ(portOf("IP_10.0.0.2"), 631);
    EXPECT_EQ(portOf("IP_10.0.0.3"), 515);
    EXPECT_EQ(portOf("IP_10.0.0.4"), 631);
    EXPECT_EQ(portOf("IP_10.0.0.5"), 443);
    EXPECT_EQ(portOf("IP_10.0.0.6"), 9101);
}

TEST_F(PortsView, HoldsOnlyNetworkPortsSoLocalPortsHaveNoSubkey)
{
    fake.spooler.addQueue("usb", "", "usb://Vendor/Model");
    fake.spooler.addQueue("lpt", "", "parallel:/dev/lp0");
    fake.spooler.addQueue("com", "", "serial:/dev/ttyS0");
    fake.spooler.addQueue("net", "", "socket://10.0.0.9");
    fake.spooler.addQueue("file", "", "file:/dev/null");
    const auto key = ports();
    ASSERT_TRUE(key);
    EXPECT_EQ(key->subKeyNames(), QStringList{"IP_10.0.0.9"});
    EXPECT_FALSE(key->hasSubkey("USB001"));
    EXPECT_FALSE(key->hasSubkey("file"));
    EXPECT_TRUE(key->hasSubkey("ip_10.0.0.9")) << "subkey names compare case-insensitively";
}

TEST_F(PortsView, FirstQueueOfAPortGivesItsValues)
{
    fake.spooler.addQueue("a", "", "socket://10.0.0.1:9100");
    fake.spooler.addQueue("b", "", "ipp://10.0.0.1/ipp/print");
    const auto key = ports();
    ASSERT_TRUE(key);
    EXPECT_EQ(key->subKeyNames().size(), 1);
    EXPECT_EQ(key->subKey("IP_10.0.0.1")->value("PortNumber")->toInt(0), 9100);
}

TEST_F(PortsView, KeyIsMissingWhileTheSpoolerCannotBeAsked)
{
    fake.spooler.addQueue("a", "", "socket://10.0.0.1:9100");
    fake.spooler.setReachable(false);
    EXPECT_FALSE(ports());
}

TEST_F(PortsView, OnlyThePortsKeyExistsAndItsPathIsCaseInsensitive)
{
    EXPECT_TRUE(RegKey::getExistKey(HKEY_LOCAL_MACHINE,
                                    "system\\currentcontrolset\\control\\print\\monitors\\"
                                    "standard tcp/ip port\\ports\\",
                                    KEY_READ));
    EXPECT_FALSE(RegKey::getExistKey(HKEY_CURRENT_USER, kStandardTcpIpPortsKey, KEY_READ));
    EXPECT_FALSE(RegKey::getExistKey(HKEY_LOCAL_MACHINE, "SYSTEM\\CurrentControlSet\\Enum\\USB", KEY_READ));
}

TEST(RegValue, ReadsTheStoredTypeElseTheDefault)
{
    EXPECT_EQ(RegValue(QVariant(QString("x"))).toString("d"), "x");
    EXPECT_EQ(RegValue(QVariant(9100)).toString("d"), "d");
    EXPECT_EQ(RegValue(QVariant(9100)).toInt(0), 9100);
    EXPECT_EQ(RegValue(QVariant(QString("515"))).toInt(0), 515);
    EXPECT_EQ(RegValue(QVariant(QString("nine"))).toInt(-1), -1);
    EXPECT_EQ(RegValue(QVariant()).toInt(-1), -1);
}

TEST(RegKey, MissingSubkeyAndValueAreNull)
{
    RegKey key("Ports");
    key.addSubKey("IP_1")->setValue("HostName", QString("h"));
    EXPECT_FALSE(key.subKey("IP_2"));
    EXPECT_FALSE(key.subKey("IP_1")->value("IPAddress"));
    key.subKey("IP_1")->setValue("HostName", QString("other"));
    EXPECT_EQ(key.subKey("IP_1")->value("HostName")->toString(""), "h") << "a value is set once";
}
