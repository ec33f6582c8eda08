// sbtool printers: the printers of this machine as the client's printer registry collects them.

#include "commands.h"
#include "print_job.h"

#include "service_business/printer.h"
#include "service_business/printer_manager.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>

namespace sbtool {
namespace {

using service_business::PrinterStatus;
using utility_business::PrinterInfo;
namespace utility_enum = utility_business::utility_enum;

const char usageText[] =
    "usage: sbtool printers [--json]\n"
    "\n"
    "Collects the printers attached now as the client does (USB print-support printers, the\n"
    "supported libusb printer, then the CUPS queues the client can print to, each with its\n"
    "connection tested and its status read) and shows one line each:\n"
    "\n"
    "  ID  NAME  TYPE  PORT  CONNECTION  WIDTH  CONNECTED  STATE  REASON\n"
    "\n"
    "TYPE is \"local\" or \"network\" (a CUPS queue on a local or a network port), \"libusb\" or\n"
    "\"usb-print-support\"; CONNECTED is \"yes\" or \"no\" as the client judges it. STATE is what the\n"
    "printer's queue or the printer itself says now (see \"sbtool status --help\"), REASON why.\n"
    "Ids are those of this collection.\n"
    "\n"
    "  --json    one JSON array of the printers instead of the table\n"
    "\n"
    "exit codes: 0 done, 1 the CUPS scheduler cannot be reached (the other printers are still\n"
    "            shown), 2 the command line is wrong\n";

QString typeName(utility_enum::PrinterType type)
{
    switch (type) {
    case utility_enum::PRINTER_SYSTEM_LOCAL: return QStringLiteral("local");
    case utility_enum::PRINTER_SYSTEM_NETWORK: return QStringLiteral("network");
    case utility_enum::PRINTER_LIBUSB: return QStringLiteral("libusb");
    case utility_enum::PRINTER_USB_PRINT_SUPPORT: return QStringLiteral("usb-print-support");
    case utility_enum::PRINTER_UNUSABLE: break;
    }
    return QStringLiteral("unusable");
}

// Characters a terminal shows two columns wide: CJK, Hangul and the full-width forms.
bool isWide(char16_t c)
{
    return (c >= 0x1100 && c <= 0x115F) || (c >= 0x2E80 && c <= 0xA4CF) || (c >= 0xAC00 && c <= 0xD7A3) ||
           (c >= 0xF900 && c <= 0xFAFF) || (c >= 0xFF00 && c <= 0xFF60);
}

int displayWidth(const QString& text)
{
    int width = 0;
    for (const QChar c : text)
        width += isWide(c.unicode()) ? 2 : 1;
    return width;
}

void printTable(const QList<QStringList>& rows)
{
    QList<int> widths;
    for (const QStringList& row : rows)
        for (int column = 0; column < row.size(); ++column) {
            if (widths.size() <= column)
                widths << 0;
            widths[column] = qMax(widths[column], displayWidth(row[column]));
        }
    for (const QStringList& row : rows) {
        QString line;
        for (int column = 0; column < row.size(); ++column) {
            line += row[column];
            if (column + 1 < row.size())
                line += QString(widths[column] - displayWidth(row[column]) + 2, QLatin1Char(' '));
        }
        std::printf("%s\n", line.toUtf8().constData());
    }
}

QJsonObject jsonOf(const PrinterInfo& printer, const PrinterStatus& status)
{
    return QJsonObject{{"id", printer.id},
                       {"name", printer.name},
                       {"type", typeName(printer.type)},
                       {"port", printer.portName},
                       {"connection", printer.connectionType},
                       {"width", printer.width},
                       {"connected", printer.connected},
                       {"status", status.toJson()}};
}

int runPrinters(const QStringList& args)
{
    OptionReader options(args);
    const bool json = options.takeFlag(QStringLiteral("--json"));
    if (!options.rest().isEmpty())
        return usageError("printers", QStringLiteral("unexpected argument \"%1\"").arg(options.rest().first()));

    const QList<PrinterInfo> printers = service_business::PrinterManager::collectPrinters();
    QList<QStringList> rows;
    rows << QStringList{"ID", "NAME", "TYPE", "PORT", "CONNECTION", "WIDTH", "CONNECTED", "STATE", "REASON"};
    QJsonArray list;
    for (const PrinterInfo& printer : printers) {
        const PrinterStatus status = service_business::Printer::printerStatus(printer);
        list.append(jsonOf(printer, status));
        rows << QStringList{QString::number(printer.id),
                            printer.name,
                            typeName(printer.type),
                            printer.portName,
                            printer.connectionType,
                            printer.width,
                            printer.connected ? QStringLiteral("yes") : QStringLiteral("no"),
                            PrinterStatus::stateName(status.state),
                            status.reason};
    }
    // The registry leaves out a spooler it cannot ask; say so rather than pass a short list off as complete.
    QString error;
    const bool complete = cupsAnswers(&error);
    if (json)
        std::printf("%s", QJsonDocument(list).toJson(QJsonDocument::Indented).constData());
    else if (!printers.isEmpty())
        printTable(rows);
    else if (complete)
        std::printf("no printers\n");
    std::fflush(stdout);
    return complete ? ExitOk : fail(error);
}

}  // namespace

const Command printersCommand = {"printers", "show the printers the client finds on this machine", usageText,
                                 runPrinters};

}  // namespace sbtool
