// A printer's status from the best source for its kind, on the fake print services (the real sources are
// tried against cupsd and the virtual printer in the tool's tests), and its use before a job is sent.
#include "printer_test_support.h"

#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include <gtest/gtest.h>

#include <functional>

using namespace utility_business;
using namespace printer_test;
using service_business::PrintManager;
using service_business::Printer;
using service_business::PrinterStatus;
using systemif::print::FakePrintSystem;
using systemif::print::PrinterAnswer;
using systemif::print::UsbDevice;
using State = PrinterStatus::State;
using Source = PrinterStatus::Source;

namespace {

PrinterAnswer answered(unsigned char printer, unsigned char cause, unsigned char paper)
{
    PrinterAnswer answer;
    answer.reach = PrinterAnswer::Reach::Answered;
    answer.answers[0] = printer;
    answer.answers[1] = cause;
    answer.answers[2] = paper;
    answer.count = 3;
    return answer;
}

struct StatusCase {
    const char* name;
    utility_enum::PrinterType type;
    std::function<void(FakePrintSystem&)> setUp;
    State state;
    Source source;
    const char* reason;
};

const StatusCase kCases[] = {
    {"queue ready, local port", utility_enum::PRINTER_SYSTEM_LOCAL, [](FakePrintSystem&) {}, State::Ready, Source::Queue,
     "its CUPS queue is ready"},
    {"queue paused", utility_enum::PRINTER_SYSTEM_NETWORK,
     [](FakePrintSystem& f) { f.spooler.setStopped("Kitchen", true); }, State::Paused, Source::Queue,
     "its CUPS queue is paused"},
    {"queue rejecting", utility_enum::PRINTER_SYSTEM_NETWORK,
     [](FakePrintSystem& f) { f.spooler.setAcceptingJobs("Kitchen", false); }, State::Rejecting, Source::Queue,
     "its CUPS queue rejects jobs"},
    {"queue says paper out", utility_enum::PRINTER_SYSTEM_LOCAL,
     [](FakePrintSystem& f) { f.spooler.setStateReasons("Kitchen", {"media-empty-error"}, "Out of paper."); },
     State::PaperOut, Source::Queue, "Out of paper."},
    {"queue says cover open", utility_enum::PRINTER_SYSTEM_LOCAL,
     [](FakePrintSystem& f) { f.spooler.setStateReasons("Kitchen", {"cover-open-warning"}); }, State::CoverOpen,
     Source::Queue, "cover-open-warning"},
    {"queue in another error", utility_enum::PRINTER_SYSTEM_LOCAL,
     [](FakePrintSystem& f) { f.spooler.setStateReasons("Kitchen", {"other-error"}); }, State::Error, Source::Queue,
     "other-error"},
    {"printer answers ready", utility_enum::PRINTER_SYSTEM_NETWORK,
     [](FakePrintSystem& f) { f.statusLink.setAnswer("kitchen.test", answered(0x12, 0x12, 0x12)); }, State::Ready,
     Source::Printer, "the printer says it is ready"},
    {"printer out of paper", utility_enum::PRINTER_SYSTEM_NETWORK,
     [](FakePrintSystem& f) { f.statusLink.setAnswer("kitchen.test", answered(0x1a, 0x32, 0x72)); },
     State::PaperOut, Source::Printer, "the printer says it is out of paper"},
    {"printer paper near end", utility_enum::PRINTER_SYSTEM_NETWORK,
     [](FakePrintSystem& f) { f.statusLink.setAnswer("kitchen.test", answered(0x12, 0x12, 0x1e)); },
     State::PaperNearEnd, Source::Printer, "the printer says it is paper near its end"},
    {"printer cover open", utility_enum::PRINTER_SYSTEM_NETWORK,
     [](FakePrintSystem& f) { f.statusLink.setAnswer("kitchen.test", answered(0x1a, 0x16, 0x12)); },
     State::CoverOpen, Source::Printer, "the printer says it is cover open"},
    {"printer offline", utility_enum::PRINTER_SYSTEM_NETWORK,
     [](FakePrintSystem& f) { f.statusLink.setAnswer("kitchen.test", answered(0x1a, 0x12, 0x12)); }, State::Offline,
     Source::Printer, "the printer says it is offline"},
    {"printer silent", utility_enum::PRINTER_SYSTEM_NETWORK, [](FakePrintSystem&) {}, State::Unknown,
     Source::Printer, "the printer does not answer status requests"},
    {"printer unreachable", utility_enum::PRINTER_SYSTEM_NETWORK,
     [](FakePrintSystem& f) {
         PrinterAnswer refused;
         refused.error = "kitchen.test:9100: Connection refused";
         f.statusLink.setAnswer("kitchen.test", refused);
     },
     State::Unreachable, Source::Printer, "kitchen.test:9100: Connection refused"},
    {"usb print support, paper empty", utility_enum::PRINTER_USB_PRINT_SUPPORT,
     [](FakePrintSystem& f) { f.usbPrintSupport.setPortStatus(0x38); }, State::PaperOut, Source::Printer,
     "the printer reports paper empty"},
    {"usb print support, not selected", utility_enum::PRINTER_USB_PRINT_SUPPORT,
     [](FakePrintSystem& f) { f.usbPrintSupport.setPortStatus(0x08); }, State::Offline, Source::Printer,
     "the printer is not selected"},
    {"usb print support, silent", utility_enum::PRINTER_USB_PRINT_SUPPORT,
     [](FakePrintSystem& f) { f.usbPrintSupport.setPortStatus(-1); }, State::Unknown, Source::None,
     "the printer does not answer status requests"},
    {"libusb printer in error", utility_enum::PRINTER_LIBUSB, [](FakePrintSystem& f) { f.usbBus.setPortStatus(0x10); },
     State::Error, Source::Printer, "the printer reports an error"},
    {"libusb printer ready", utility_enum::PRINTER_LIBUSB, [](FakePrintSystem&) {}, State::Ready, Source::Printer,
     "the printer reports ready"},
};

class PrinterStatusTest : public FakeDispatchTest, public ::testing::WithParamInterface<StatusCase> {
protected:
    void SetUp() override
    {
        FakeDispatchTest::SetUp();
        m_fake.spooler.addQueue("Kitchen", "POS-80", GetParam().type == utility_enum::PRINTER_SYSTEM_LOCAL
                                                        ? "usb://POS/80"
                                                        : "socket://kitchen.test:9100");
        m_fake.usbPrintSupport.attach("/dev/usb/lp0");
        UsbDevice device;
        device.bus = "001";
        device.filename = "004";
        device.descriptor.idVendor = kSupportedVendor;
        device.descriptor.idProduct = kSupportedProduct;
        device.hasPrinterInterface = true;
        m_fake.usbBus.attach(device);
        GetParam().setUp(m_fake);
        m_printer = printerRecord(5, "Kitchen", GetParam().type);
        if (GetParam().type == utility_enum::PRINTER_USB_PRINT_SUPPORT) m_printer.model = "/dev/usb/lp0";
    }

    PrinterInfo m_printer;
};

}  // namespace

TEST_P(PrinterStatusTest, ComesFromTheBestSourceAndAJobTheStatusForbidsFailsUnsent)
{
    const PrinterStatus status = Printer::printerStatus(m_printer);
    EXPECT_EQ(PrinterStatus::stateName(status.state), PrinterStatus::stateName(GetParam().state));
    EXPECT_EQ(status.source, GetParam().source);
    EXPECT_EQ(status.reason, GetParam().reason);

    PrintManager::printOrder(m_printer, "\x1b@Order 1\n", m_outcomes.callback(1));
    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{!status.blocksPrinting()});
    const bool sent = !m_fake.spooler.jobs().isEmpty() || !m_fake.usbPrintSupport.written("/dev/usb/lp0").isEmpty() ||
                      !m_fake.usbBus.written("004").isEmpty();
    EXPECT_EQ(sent, !status.blocksPrinting()) << "a job the printer cannot print is never sent";
    if (status.blocksPrinting()) {
        EXPECT_TRUE(m_log.containsText("failed: not sent: the printer is " +
                                       PrinterStatus::stateName(status.state).toStdString() + ": " + GetParam().reason));
    }
}

INSTANTIATE_TEST_SUITE_P(Printers, PrinterStatusTest, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<StatusCase>& info) {
                             std::string name;
                             for (const char* c = info.param.name; *c; ++c)
                                 if (std::isalnum(static_cast<unsigned char>(*c))) name += *c;
                             return name;
                         });

// Paper that runs out during a job leaves it unconfirmed: the printer took it, but may have printed a part.
TEST_F(FakeDispatchTest, PaperThatRunsOutDuringAJobMakesItNotPrinted)
{
    m_fake.usbPrintSupport.attach("/dev/usb/lp0");
    m_fake.usbPrintSupport.setPortStatusAfterWrite(0x38);
    PrinterInfo printer = printerRecord(6, "Usb", utility_enum::PRINTER_USB_PRINT_SUPPORT);
    printer.model = "/dev/usb/lp0";
    PrintManager::printOrder(printer, "\x1b@Order 2\n", m_outcomes.callback(2));
    ASSERT_TRUE(m_outcomes.waitFor(2));
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{false});
    EXPECT_EQ(m_fake.usbPrintSupport.written("/dev/usb/lp0").size(), 1);
    EXPECT_TRUE(m_log.containsText("sent to the printer but not confirmed: the printer is paper-out after the job "
                                   "(the printer reports paper empty): it may be partly printed"));
}
