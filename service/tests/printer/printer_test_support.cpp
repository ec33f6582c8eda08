#include "printer_test_support.h"

#include "service_business/printer.h"

#include <QFile>
#include <QRegularExpression>

#include <memory>
#include <thread>

namespace printer_test {

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

QByteArray receipt(int number)
{
    return QByteArray("\x1b@Order ") + QByteArray::number(number) + "\n\x1dVB" + QByteArray(1, '\0');
}

QByteArray document(int number)
{
    return service_business::Printer::buildDocument(receipt(number)).bytes();
}

}  // namespace printer_test
