#include "print_fixture.h"

#include <QDir>

namespace cli_test {

test_support::CupsdHarness* PrintTest::s_cups = nullptr;

void PrintTest::SetUpTestSuite()
{
    if (!test_support::CupsdHarness::unavailableReason().isEmpty())
        return;
    s_cups = new test_support::CupsdHarness;
    if (!s_cups->start()) {
        delete s_cups;
        s_cups = nullptr;
    }
}

void PrintTest::TearDownTestSuite()
{
    delete s_cups;
    s_cups = nullptr;
}

void PrintTest::SetUp()
{
    ToolTest::SetUp();
    const QString reason = test_support::CupsdHarness::unavailableReason();
    if (!reason.isEmpty())
        GTEST_SKIP() << "no CUPS scheduler here: " << reason.toStdString();
    ASSERT_NE(s_cups, nullptr) << "cupsd did not start";
}

QByteArray PrintTest::Device::nextReport() const
{
    return nextLine(*process, QProcess::StandardOutput, 20000);
}

QString PrintTest::Device::jobPath(int number, const char* extension) const
{
    return dir + QString::asprintf("/job-%04d.", number) + QLatin1String(extension);
}

void PrintTest::addPrinter(const QString& name, Device* device, const QStringList& options)
{
    device->dir = homePath(QStringLiteral("printer-") + name);
    ASSERT_TRUE(QDir().mkpath(device->dir));
    device->process = startProgram(QStringLiteral(SB_VIRTUAL_PRINTER),
                                   QStringList{"--port", "0", "--out", device->dir} + options);
    ASSERT_NE(device->process, nullptr);
    device->port = nextLine(*device->process, QProcess::StandardOutput).toInt();
    ASSERT_GT(device->port, 0);
    ASSERT_TRUE(s_cups->addRawQueue(name, test_support::CupsdHarness::socketUri(device->port)))
        << s_cups->errorLog().toStdString();
}

QByteArray PrintTest::withoutWaits(const QByteArray& out)
{
    QByteArray kept;
    for (const QByteArray& line : out.split('\n'))
        if (!line.isEmpty() && !line.contains(", waiting "))
            kept += line + '\n';
    return kept;
}

}  // namespace cli_test
