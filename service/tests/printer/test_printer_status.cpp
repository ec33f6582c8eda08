// A printer's status from the best source for its kind, on the fake print services (the real sources are
// tried against cupsd and the virtual printer in the tool's tests), and its use before a job is sent.
#include "printer_test_support.h"

#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <map>

using namespace utility_business;
using namespace printer_test;
using service_business::PrintManager;
using service_business::Printer;
using service_business::PrinterStatus;
using systemif::print::FakePrintSystem;
using systemif::print::PrinterAnswer;

namespace {

QJsonArray statusCases()
{
    QFile file(QStringLiteral(SB_PRINTER_CASES_DIR "/printer_status.json"));
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll())["cases"].toArray() : QJsonArray();
}

const std::map<QString, utility_enum::PrinterType> kTypes = {
    {"local", utility_enum::PRINTER_SYSTEM_LOCAL},
    {"network", utility_enum::PRINTER_SYSTEM_NETWORK},
    {"usbPrintSupport", utility_enum::PRINTER_USB_PRINT_SUPPORT},
    {"libusb", utility_enum::PRINTER_LIBUSB},
};

// The fakes say what the case's "given" says.
void give(FakePrintSystem& fake, const QJsonObject& given)
{
    fake.spooler.setStopped("Kitchen", given["stopped"].toBool());
    fake.spooler.setAcceptingJobs("Kitchen", !given["rejecting"].toBool());
    QStringList reasons;
    for (const QJsonValue reason : given["reasons"].toArray()) reasons << reason.toString();
    fake.spooler.setStateReasons("Kitchen", reasons, given["message"].toString());
    PrinterAnswer answer;
    answer.error = given["refused"].toString();
    for (const QJsonValue byte : given["answer"].toArray()) answer.answers[answer.count++] = byte.toInt();
    if (answer.count) answer.reach = PrinterAnswer::Reach::Answered;
    if (answer.count || !answer.error.isEmpty()) fake.statusLink.setAnswer("kitchen.test", answer);
    if (given.contains("portStatus")) {
        fake.usbPrintSupport.setPortStatus(given["portStatus"].toInt());
        fake.usbBus.setPortStatus(given["portStatus"].toInt());
    }
}

class PrinterStatusTest : public FakeDispatchTest, public ::testing::WithParamInterface<QJsonValue> {
protected:
    void SetUp() override
    {
        FakeDispatchTest::SetUp();
        const utility_enum::PrinterType type = kTypes.at(GetParam()["printer"].toString());
        m_fake.spooler.addQueue("Kitchen", "POS-80",
                                type == utility_enum::PRINTER_SYSTEM_LOCAL ? "usb://POS/80" : "socket://kitchen.test:9100");
        m_fake.usbPrintSupport.attach("/dev/usb/lp0");
        m_fake.usbBus.attach({"001", "004", {kSupportedVendor, kSupportedProduct}, true});
        give(m_fake, GetParam()["given"].toObject());
        m_printer = printerRecord(5, "Kitchen", type);
        if (type == utility_enum::PRINTER_USB_PRINT_SUPPORT) m_printer.model = "/dev/usb/lp0";
    }

    PrinterInfo m_printer;
};

}  // namespace

TEST_P(PrinterStatusTest, ComesFromTheBestSourceAndAJobTheStatusForbidsFailsUnsent)
{
    const PrinterStatus status = Printer::printerStatus(m_printer);
    const std::string reason = GetParam()["reason"].toString().toStdString();
    EXPECT_EQ(PrinterStatus::stateName(status.state), GetParam()["state"].toString());
    EXPECT_EQ(PrinterStatus::sourceName(status.source), GetParam()["source"].toString());
    EXPECT_EQ(status.reason.toStdString(), reason);

    PrintManager::printOrder(m_printer, "\x1b@Order 1\n", m_outcomes.callback(1));
    ASSERT_TRUE(m_outcomes.waitFor(1));
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{!status.blocksPrinting()});
    const bool sent = !m_fake.spooler.jobs().isEmpty() || !m_fake.usbPrintSupport.written("/dev/usb/lp0").isEmpty() ||
                      !m_fake.usbBus.written("004").isEmpty();
    EXPECT_EQ(sent, !status.blocksPrinting()) << "a job the printer cannot print is never sent";
    if (status.blocksPrinting()) {
        EXPECT_TRUE(m_log.containsText("failed: not sent: the printer is " +
                                       PrinterStatus::stateName(status.state).toStdString() + ": " + reason));
    }
}

INSTANTIATE_TEST_SUITE_P(Printers, PrinterStatusTest, ::testing::ValuesIn(statusCases()),
                         [](const ::testing::TestParamInfo<QJsonValue>& info) {
                             std::string name;
                             for (const QChar c : info.param["name"].toString())
                                 if (c.isLetterOrNumber()) name += c.toLatin1();
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
