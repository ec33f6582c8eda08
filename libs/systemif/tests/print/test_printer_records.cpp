// Printer records as the spooler's queues give them: names, drivers, port names, the TCP/IP port view and
// the offline bit.
#include "systemif/print.h"
#include "systemif/ports.h"
#include "systemif/print_fake.h"

#include "qt_print.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace systemif::print;
using namespace systemif::win;

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

// One table of device URIs (device_uris.json): the port name of each queue's record and, for network
// queues, the TCP/IP port subkey the printer code reads.
TEST_F(PrinterRecords, PortNameAndPortSubkeyFollowTheDeviceOfTheQueue)
{
    QFile file(QStringLiteral(SB_PRINT_CASES_DIR "/device_uris.json"));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QJsonArray queues = QJsonDocument::fromJson(file.readAll()).object().value("queues").toArray();
    ASSERT_FALSE(queues.isEmpty());
    for (const QJsonValue queue : queues)
        fake.spooler.addQueue(queue["queue"].toString(), "", queue["uri"].toString());
    const auto key = RegKey::getExistKey(HKEY_LOCAL_MACHINE, kStandardTcpIpPortsKey, KEY_READ);
    ASSERT_TRUE(key);
    QStringList subkeys;
    for (const QJsonValue queue : queues) {
        const std::string uri = queue["uri"].toString().toStdString();
        const QString port = queue["port"].toString();
        EXPECT_EQ(portOf(queue["queue"].toString()), port) << uri;
        const QJsonObject view = queue["view"].toObject();
        if (view.isEmpty()) continue;
        subkeys << port;
        const auto subkey = key->subKey(port);
        ASSERT_TRUE(subkey) << uri;
        for (const QString name : {"IPAddress", "HostName"})
            EXPECT_EQ(subkey->value(name)->toString("none"), view[name].toString()) << uri << ' ' << name.toStdString();
        EXPECT_EQ(subkey->value("PortNumber")->toInt(-1), view["PortNumber"].toInt()) << uri;
    }
    QStringList actual = key->subKeyNames();
    actual.sort();
    subkeys.sort();
    EXPECT_EQ(actual, subkeys);
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
