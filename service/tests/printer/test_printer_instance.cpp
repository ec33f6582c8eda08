// A Printer of a profile reads its record from the settings store each time (real files in a fresh home),
// refreshes spooler printers from the fake spooler, and gives the formatter its settings.
#include "printer_test_support.h"
#include "service_home.h"

#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"
#include "service_business/printer.h"
#include "service_business/printer_manager.h"

#include <gtest/gtest.h>

using namespace utility_business;
using service_business::Printer;
using service_business::PrinterManager;
using service_business::json_db::JsonDB;

namespace {

const char* const kAppSettings = R"({
    "profiles": {"1": {"username": "shop"}},
    "print": {
        "printers": {
            "0": {"name": "Kitchen", "model": "old model", "width": "80mm", "connectionType": "local", "portName": "USB009",
                  "type": 1},
            "3": {"name": "Libusb", "width": "58mm", "type": 3},
            "4": {"name": "Usb1", "model": "/dev/usb/lp0", "width": "58mm", "type": 4}
        },
        "isConvertToPinyinEnabled": true, "isSimplifyChineseEnabled": false, "isPrintBarcodeEnabled": true,
        "spacingBetweenCopies": "large", "fontStyle": "small"
    }
})";

const char* const kProfileSettings = R"({
    "username": "shop",
    "printers": {
        "defaulePrinterProperties": {"width": "58mm", "copiesCountOfOrder": 2, "copiesCountOfDineOrder": 3,
                                     "copiesCountOfPhoneOrder": 4},
        "0": {"width": "58mm", "copiesCountOfOrder": 1, "copiesCountOfDineOrder": 1, "copiesCountOfPhoneOrder": 1}
    }
})";

class PrinterInstance : public test_support::ServiceHomeTest {
protected:
    void SetUp() override
    {
        ServiceHomeTest::SetUp();
        writeFile(appdataPath("Settings-App.json"), QString::fromUtf8(kAppSettings));
        writeFile(appdataPath("Profiles/1/Settings-Local.json"), QString::fromUtf8(kProfileSettings));
        writeFile(appdataPath("Profiles/1/Settings-Runtime.json"), QStringLiteral("{}"));
        service_business::json_db::resetJsonDBForTests();
        m_fake.spooler.addQueue("Kitchen", "POS-80 Series", "usb://Vendor/TM-T20");
    }

    systemif::print::FakePrintSystem m_fake;
};

}  // namespace

TEST_F(PrinterInstance, PrinterInfoOfASpoolerPrinterIsRefreshedAndItsConnectionTested)
{
    const auto printer = PrinterManager::instancePrinter(1, 0);
    PrinterInfo info = printer->printerInfo();
    EXPECT_EQ(info.id, 0);
    EXPECT_EQ(info.model, "POS-80 Series");
    EXPECT_EQ(info.portName, "USB001");
    EXPECT_EQ(info.width, "80mm") << "a stored width is kept";
    EXPECT_TRUE(info.connected);
    EXPECT_EQ(JsonDB::browser()->printerInfo(1, 0).model, "old model") << "the store is not written";

    m_fake.spooler.setStopped("Kitchen", true);
    EXPECT_FALSE(printer->printerInfo().connected);
    m_fake.spooler.removeQueue("Kitchen");
    info = printer->printerInfo();
    EXPECT_EQ(info.portName, "USB009") << "a printer the spooler does not know keeps its stored record";
    EXPECT_FALSE(info.connected);
}

TEST_F(PrinterInstance, PrinterInfoOfUsbPrintersComesFromTheStore)
{
    const PrinterInfo libusb = PrinterManager::instancePrinter(1, 3)->printerInfo();
    EXPECT_EQ(libusb.name, "Libusb");
    EXPECT_FALSE(libusb.connected) << "no supported libusb printer is attached";
    m_fake.usbBus.attach({"001", "004", {printer_test::kSupportedVendor, printer_test::kSupportedProduct}, true});
    EXPECT_TRUE(PrinterManager::instancePrinter(1, 3)->printerInfo().connected);

    const PrinterInfo usb = PrinterManager::instancePrinter(1, 4)->printerInfo();
    EXPECT_EQ(usb.model, "/dev/usb/lp0");
    EXPECT_TRUE(usb.connected);
}

TEST_F(PrinterInstance, SummarySettingsTakeTheCopiesOfTheProfileOrPrinterAndTheSecondGlobalSwitch)
{
    const SummaryPrintSettings settings = Printer::getBasisSummaryPrintSettings(1);
    EXPECT_EQ(settings.width, "80mm") << "the basis settings print on the paper of printer 0";
    EXPECT_EQ(settings.copiesOfOnlineOrder, 2);
    EXPECT_EQ(settings.copiesOfDineOrder, 3);
    EXPECT_EQ(settings.copiesOfPhoneOrder, 4);
    // The barcode follows "isSimplifyChineseEnabled", not "isPrintBarcodeEnabled".
    EXPECT_FALSE(settings.isPrintBarcodeEnabled);
    EXPECT_EQ(settings.lines_between_copies, "large");
    EXPECT_EQ(settings.style, "small");

    const SummaryPrintSettings ofPrinter = Printer::getSummaryPrintSettings(1, 3);
    EXPECT_EQ(ofPrinter.width, "58mm");
    EXPECT_EQ(ofPrinter.copiesOfOnlineOrder, 1) << "not enabled: the default copies";
    EXPECT_EQ(ofPrinter.copiesOfPhoneOrder, 1);
    EXPECT_FALSE(ofPrinter.isPrintBarcodeEnabled);

    GlobalPrintSettings global = JsonDB::browser()->globalPrintSettings();
    global.isSimplifyChineseEnabled = true;
    global.isPrintBarcodeEnabled = false;
    ASSERT_TRUE(JsonDB::updater()->setPrinterGlobalSettings(global));
    EXPECT_TRUE(Printer::getSummaryPrintSettings(1, 3).isPrintBarcodeEnabled);
    EXPECT_TRUE(Printer::getBasisSummaryPrintSettings(1).isPrintBarcodeEnabled);
}
