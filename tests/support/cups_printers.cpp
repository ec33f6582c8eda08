#include "cups_printers.h"

#include <QDir>
#include <QFile>
#include <QThread>

#include <iostream>

namespace test_support {

CupsdHarness* sharedCupsd()
{
    if (!CupsdHarness::unavailableReason().isEmpty()) return nullptr;
    static std::unique_ptr<CupsdHarness> cups = [] {
        auto harness = std::make_unique<CupsdHarness>();
        if (harness->start()) return harness;
        std::cerr << "cupsd did not start: " << harness->error().toStdString() << '\n';
        return std::unique_ptr<CupsdHarness>();
    }();
    return cups.get();
}

void CupsPrintersTest::SetUp()
{
    const QString reason = CupsdHarness::unavailableReason();
    if (!reason.isEmpty()) GTEST_SKIP() << "no CUPS scheduler here: " << reason.toStdString();
    s_cups = sharedCupsd();
    ASSERT_NE(s_cups, nullptr) << "cupsd did not start";
}

void CupsPrintersTest::TearDown()
{
    if (HasFailure() && s_cups) std::cerr << s_cups->errorLog().right(4000).toStdString();
}

QByteArray PrinterDevice::savedJob(int number) const
{
    QFile file(dir.filePath(QString::asprintf("job-%04d.bin", number)));
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

int PrinterDevice::savedJobs() const
{
    return QDir(dir.path()).entryList({QStringLiteral("job-*.bin")}, QDir::Files).size();
}

std::unique_ptr<PrinterDevice> startPrinter(CupsdHarness& cups, const QString& name, virtual_printer::Options options,
                                            bool escpos)
{
    auto device = std::make_unique<PrinterDevice>();
    EXPECT_TRUE(device->dir.isValid());
    options.outDir = device->dir.path().toStdString();
    device->printer = std::make_unique<virtual_printer::VirtualPrinter>(options);
    std::string error;
    EXPECT_TRUE(device->printer->start(&error)) << error;
    const int port = device->printer->port();
    EXPECT_TRUE(cups.addRawQueue(name, escpos ? CupsdHarness::escposUri(port) : CupsdHarness::socketUri(port)))
        << cups.error().toStdString();
    return device;
}

CupsPrintersTest::Device* CupsPrintersTest::addPrinter(const QString& name, virtual_printer::Options options,
                                                        bool escpos)
{
    m_devices.push_back(startPrinter(*s_cups, name, options, escpos));
    return m_devices.back().get();
}

bool CupsPrintersTest::waitForJobState(int jobId, int state)
{
    for (int i = 0; i < 2000; ++i) {
        if (s_cups->jobState(jobId) == state) return true;
        QThread::msleep(10);
    }
    return false;
}

int openDescriptors()
{
    // Qt keeps a descriptor of its own from the first thread it starts; start one before counting.
    std::unique_ptr<QThread> first(QThread::create([] {}));
    first->start();
    first->wait();
    return QDir(QStringLiteral("/proc/self/fd")).entryList(QDir::Files | QDir::System).size();
}

}  // namespace test_support
