#include "printer_test_support.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <memory>
#include <thread>

void PrintTo(const QString& text, std::ostream* out)
{
    *out << '"' << text.toStdString() << '"';
}

void PrintTo(const QByteArray& bytes, std::ostream* out)
{
    *out << bytes.size() << " bytes: " << bytes.toHex(' ').toStdString();
}

namespace printer_test {

namespace {

// The home of this process, set before any test runs; fixtures may move it for a test.
class PrinterTestEnvironment : public ::testing::Environment {
public:
    void SetUp() override
    {
        ASSERT_TRUE(m_home.isValid());
        qputenv("SERVICE_BUSINESS_HOME", QFile::encodeName(m_home.path()));
    }
    void TearDown() override { qunsetenv("SERVICE_BUSINESS_HOME"); }
    QTemporaryDir m_home;
};

PrinterTestEnvironment* const g_environment =
    static_cast<PrinterTestEnvironment*>(::testing::AddGlobalTestEnvironment(new PrinterTestEnvironment));

QByteArray hexAround(const QByteArray& bytes, int offset)
{
    const int from = qMax(0, offset - 16);
    return QByteArray::number(from) + ": " + bytes.mid(from, 32).toHex(' ');
}

}  // namespace

QString homeDir()
{
    return g_environment->m_home.path();
}

::testing::AssertionResult sameBytes(const QByteArray& expected, const QByteArray& actual)
{
    if (expected == actual) return ::testing::AssertionSuccess();
    int offset = 0;
    while (offset < expected.size() && offset < actual.size() && expected[offset] == actual[offset]) ++offset;
    return ::testing::AssertionFailure() << "the streams differ at offset " << offset << " (expected "
                                         << expected.size() << " bytes, got " << actual.size() << ")\n  expected "
                                         << hexAround(expected, offset).toStdString() << "\n  actual   "
                                         << hexAround(actual, offset).toStdString();
}

int countRecords(const utility_business::log::Capture& capture, const std::string& type, const std::string& text)
{
    int count = 0;
    for (const auto& record : capture.records())
        if (record.type == type && record.text == text) ++count;
    return count;
}

int countRecordsStartingWith(const utility_business::log::Capture& capture, const std::string& type,
                             const std::string& prefix)
{
    int count = 0;
    for (const auto& record : capture.records())
        if (record.type == type && record.text.compare(0, prefix.size(), prefix) == 0) ++count;
    return count;
}

bool waitForRecords(const utility_business::log::Capture& capture, const std::string& type, const std::string& text,
                    int count, std::chrono::milliseconds timeout)
{
    const auto deadline = std::chrono::steady_clock::now() + timeout;
    while (countRecords(capture, type, text) < count) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

std::string workerOf(const utility_business::log::Capture& capture, int printerId)
{
    const QRegularExpression pattern(
        QStringLiteral("^create printer \\[%1\\] work thread \\[(\\d+)\\]$").arg(printerId));
    for (const auto& record : capture.records()) {
        const auto match = pattern.match(QString::fromStdString(record.text));
        if (match.hasMatch()) return match.captured(1).toStdString();
    }
    return {};
}

utility_business::PrinterInfo printerRecord(int id, const QString& name,
                                            utility_business::utility_enum::PrinterType type,
                                            bool connected)
{
    utility_business::PrinterInfo info;
    info.id = id;
    info.name = name;
    info.model = name;
    info.width = QStringLiteral("80mm");
    info.type = type;
    info.connected = connected;
    return info;
}

}  // namespace printer_test
