// The Standard TCP/IP ports key, read through the registry-shaped view the printer code uses; its values
// per device URI are in device_uris.json.
#include "systemif/ports.h"
#include "systemif/print_fake.h"

#include <gtest/gtest.h>

using namespace systemif::print;
using namespace systemif::win;

namespace {

common::RefPtr<RegKey> ports() { return RegKey::getExistKey(HKEY_LOCAL_MACHINE, kStandardTcpIpPortsKey, KEY_READ); }

}  // namespace

TEST(PortsView, SubkeyNamesCompareCaseInsensitivelyAndTheKeyIsMissingWhileTheSpoolerCannotBeAsked)
{
    FakePrintSystem fake;
    fake.spooler.addQueue("a", "", "ipp://10.0.0.2/ipp/print");
    ASSERT_TRUE(ports());
    EXPECT_TRUE(ports()->hasSubkey("ip_10.0.0.2"));
    fake.spooler.setReachable(false);
    EXPECT_FALSE(ports());
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
