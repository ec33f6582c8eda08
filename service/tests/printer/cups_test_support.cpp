#include "cups_test_support.h"

#include "service_business/print_manager.h"
#include "service_business/printer.h"

#include <QDir>
#include <QFile>

namespace printer_test {

test_support::CupsdHarness* CupsDispatchTest::s_cups = nullptr;

void CupsDispatchTest::SetUpTestSuite()
{
    if (!test_support::CupsdHarness::unavailableReason().isEmpty()) return;
    s_cups = new test_support::CupsdHarness;
    if (!s_cups->start()) {
        delete s_cups;
        s_cups = nullptr;
    }
}

void CupsDispatchTest::TearDownTestSuite()
{
    delete s_cups;
    s_cups = nullptr;
}

void CupsDispatchTest::SetUp()
{
    const QString reason = test_support::CupsdHarness::unavailableReason();
    if (!reason.isEmpty()) GTEST_SKIP() << "no CUPS scheduler here: " << reason.toStdString();
    ASSERT_NE(s_cups, nullptr) << "cupsd did not start";
}

void CupsDispatchTest::TearDown()
{
    service_business::PrintManager::printerHasChanged({});
}

QByteArray CupsDispatchTest::Device::savedJob(int number) const
{
    QFile file(dir.filePath(QString::asprintf("job-%04d.bin", number)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

CupsDispatchTest::Device* CupsDispatchTest::addPrinter(const QString& name)
{
    auto device = std::make_unique<Device>();
    EXPECT_TRUE(device->dir.isValid());
    virtual_printer::Options options;
    options.outDir = device->dir.path().toStdString();
    device->printer = std::make_unique<virtual_printer::VirtualPrinter>(options);
    std::string error;
    EXPECT_TRUE(device->printer->start(&error)) << error;
    EXPECT_TRUE(s_cups->addRawQueue(name, test_support::CupsdHarness::socketUri(device->printer->port())))
        << s_cups->errorLog().toStdString();
    m_devices.push_back(std::move(device));
    return m_devices.back().get();
}

utility_business::PrinterInfo CupsDispatchTest::spoolerRecord(int id, const QString& name)
{
    utility_business::PrinterInfo info;
    info.id = id;
    info.name = name;
    EXPECT_TRUE(service_business::Printer::systemPrinterInfo(info)) << name.toStdString();
    info.connected = service_business::Printer::isConnected(info);
    return info;
}

int CupsDispatchTest::openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
}

}  // namespace printer_test
