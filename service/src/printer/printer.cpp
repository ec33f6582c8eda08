#include "service_business/printer.h"

#include "printer/usb_printer_list_p.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"
#include "service_business/translator.h"
#include "translator_p.h"

#include "systemif/network.h"
#include "systemif/ports.h"
#include "utility_business/log.h"

#include <QTextCodec>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <string_view>

namespace service_business {

using namespace utility_business;
using systemif::print::Document;
using systemif::print::PRINTER_INFO_2W;
using systemif::print::PrintServics;

namespace {

const char* const kLogUnit = "src/printer/printer";
const QString kDocumentName = QStringLiteral("Receipt");
const QString kUsbEnumKey = QStringLiteral("SYSTEM\\CurrentControlSet\\Enum\\USB");
const char* const kDefaultCodePage = "GB18030";

std::atomic<QTextCodec*> g_codePage{nullptr};

void logError(int line, const char* message)
{
    log::NormalLog("error", kLogUnit, line) << message;
}

QTextCodec* codePage()
{
    QTextCodec* codec = g_codePage.load();
    if (codec) return codec;
    codec = QTextCodec::codecForName(qgetenv("SERVICE_BUSINESS_CODEPAGE"));
    if (!codec) codec = QTextCodec::codecForName(kDefaultCodePage);
    QTextCodec* expected = nullptr;
    return g_codePage.compare_exchange_strong(expected, codec) ? codec : expected;
}

// The text as a GB2312 printer can show it: simplified, and what GB2312 still lacks spelt in pinyin.
QString printableText(const QString& text)
{
    const std::u16string simplified = Translator::toSimplifiedChinese(text.toStdU16String());
    std::u16string printable;
    printable.reserve(simplified.size());
    for (char16_t character : simplified) {
        if (Translator::isInGB2312(character))
            printable += character;
        else
            printable += Translator::toPinyin(character);
    }
    return QString::fromStdU16String(printable);
}

bool isLocalPort(const QString& portName)
{
    for (const char* prefix : {"LPT", "COM", "USB"})
        if (portName.startsWith(QLatin1String(prefix), Qt::CaseInsensitive)) return true;
    return false;
}

// Connection type, host and port of the record's port, from the spooler's Standard TCP/IP ports.
void loadConnection(PrinterInfo& info)
{
    using namespace systemif::win;
    if (isLocalPort(info.portName)) {
        info.connectionType = QStringLiteral("local");
        return;
    }
    const auto ports = RegKey::getExistKey(HKEY_LOCAL_MACHINE, QLatin1String(kStandardTcpIpPortsKey), KEY_READ);
    if (!ports) return;
    if (!ports->hasSubkey(info.portName)) {
        info.connectionType = QStringLiteral("unsupported");
        return;
    }
    info.connectionType = QStringLiteral("network");
    const auto port = ports->subKey(info.portName);
    if (const auto hostName = port->value(QStringLiteral("HostName"))) info.hostAddress = hostName->toString({});
    if (info.hostAddress.isEmpty()) {
        if (const auto address = port->value(QStringLiteral("IPAddress"))) info.hostAddress = address->toString({});
    }
    // Only the low byte of the number survives (9100 gives the character 140); the client relies on it.
    if (const auto number = port->value(QStringLiteral("PortNumber")))
        info.port = QString(QChar(static_cast<ushort>(number->toInt(0) & 0xFF)));
}

utility_enum::PrinterType spoolerPrinterType(const QString& connectionType)
{
    if (connectionType == QLatin1String("local")) return utility_enum::PRINTER_SYSTEM_LOCAL;
    if (connectionType == QLatin1String("network")) return utility_enum::PRINTER_SYSTEM_NETWORK;
    return utility_enum::PRINTER_UNUSABLE;
}

// Global members of the formatter settings. The barcode switch is taken from the second of the global
// switches, as the client has always done.
void applyGlobalPrintSettings(SummaryPrintSettings& settings)
{
    const GlobalPrintSettings global = json_db::JsonDB::browser()->globalPrintSettings();
    settings.isPrintBarcodeEnabled = global.isSimplifyChineseEnabled;
    settings.lines_between_copies = global.spacingBetweenCopies;
    settings.style = global.fontStyle;
}

}  // namespace

Printer::Printer(int profileId, int printerId) : m_profileId(profileId), m_printerId(printerId) {}

QString Printer::name() const
{
    return json_db::JsonDB::browser()->printerInfo(m_profileId, m_printerId).name;
}

utility_enum::PrinterType Printer::type() const
{
    return json_db::JsonDB::browser()->printerInfo(m_profileId, m_printerId).type;
}

QString Printer::width() const
{
    return json_db::JsonDB::browser()->printerInfo(m_profileId, m_printerId).width;
}

PrinterInfo Printer::printerInfo() const
{
    PrinterInfo info = json_db::JsonDB::browser()->printerInfo(m_profileId, m_printerId);
    if (info.type != utility_enum::PRINTER_LIBUSB && info.type != utility_enum::PRINTER_USB_PRINT_SUPPORT)
        systemPrinterInfo(info);
    info.connected = isConnected(info);
    return info;
}

bool Printer::setPrintCopies(const PrintCopies& copies)
{
    return json_db::JsonDB::updater()->updatePrintCopies(m_profileId, m_printerId, copies);
}

bool Printer::printDoc(const QByteArray& /*printCmd*/, const std::function<void(bool)>& /*callback*/)
{
    printerInfo();
    return true;
}

Document Printer::buildDocument(const QByteArray& printCmd)
{
    QTextCodec* codec = codePage();
    QByteArray output;
    const Translator::PrintableBytes* table = Translator::PrintableBytes::forCodec(codec);
    if (table) {
        // One pass: each piece's UTF-16 units (ASCII bytes as they are, when they print as themselves) looked
        // up in the code page's table of printable bytes, which holds what simplifying, spelling in pinyin and
        // encoding make of each unit. Pieces with other bytes are decoded as before, piece by piece.
        const char* const data = printCmd.constData();
        const int size = printCmd.size();
        output.resize(size + size / 2 + 16);
        int at = 0;  // bytes written
        // Room for count more bytes, keeping what is written.
        const auto reserve = [&output, &at](qint64 count) {
            if (at + count > output.size()) output.resize(int(std::max<qint64>(at + count, qint64(output.size()) * 2)));
            return output.data() + at;
        };
        for (int begin = 0;;) {
            const char* nul = static_cast<const char*>(std::memchr(data + begin, '\0', size_t(size - begin)));
            const int end = nul ? int(nul - data) : size;
            bool ascii = table->asciiIsItself();
            for (int i = begin; ascii && i < end; ++i) ascii = static_cast<unsigned char>(data[i]) < 0x80;
            if (ascii) {
                std::memcpy(reserve(end - begin + 1), data + begin, size_t(end - begin));
                at += end - begin;
            } else {
                const QString text = QString::fromUtf8(data + begin, end - begin);
                char* out = reserve(qint64(text.size()) * table->longest() + 1);
                const char16_t* unit = reinterpret_cast<const char16_t*>(text.utf16());
                for (const char16_t* last = unit + text.size(); unit != last; ++unit) {
                    const std::string_view bytes = table->of(*unit);
                    std::memcpy(out, bytes.data(), bytes.size());
                    out += bytes.size();
                }
                at = int(out - output.data());
            }
            output[at++] = '\0';
            if (end == size) break;
            begin = end + 1;
        }
        output.resize(at);
        return Document(output);
    }
    output.reserve(printCmd.size() + 1);
    for (int begin = 0;;) {
        int end = printCmd.indexOf('\0', begin);
        if (end < 0) end = printCmd.size();
        output += codec->fromUnicode(printableText(QString::fromUtf8(printCmd.constData() + begin, end - begin)));
        output += '\0';
        if (end == printCmd.size()) break;
        begin = end + 1;
    }
    return Document(output);
}

bool Printer::setCodePage(const QByteArray& codecName)
{
    QTextCodec* codec = QTextCodec::codecForName(codecName);
    if (!codec) return false;
    g_codePage.store(codec);
    return true;
}

SummaryPrintSettings Printer::getBasisSummaryPrintSettings(int profileId)
{
    const PrinterSettings basis = json_db::JsonDB::browser()->basisPrinterSettings(profileId);
    SummaryPrintSettings settings;
    settings.width = basis.width;
    settings.copiesOfOnlineOrder = basis.copiesCountOfOrder;
    settings.copiesOfDineOrder = basis.copiesCountOfDineOrder;
    settings.copiesOfPhoneOrder = basis.copiesCountOfPhoneOrder;
    applyGlobalPrintSettings(settings);
    return settings;
}

SummaryPrintSettings Printer::getSummaryPrintSettings(int profileId, int printerId)
{
    SummaryPrintSettings settings;
    settings.width = json_db::JsonDB::browser()->printerInfo(profileId, printerId).width;
    applyGlobalPrintSettings(settings);
    return settings;
}

bool Printer::isConnected(const PrinterInfo& info)
{
    switch (info.type) {
    case utility_enum::PRINTER_SYSTEM_LOCAL:
    case utility_enum::PRINTER_SYSTEM_NETWORK: {
        PRINTER_INFO_2W* record = nullptr;
        if (!PrintServics::queryPrinterInfo2(info.name, record) || !record) return false;
        PrinterInfo fresh;
        loadDataFromPRINTER_INFO2(fresh, record);
        const bool offline = (record->Attributes & systemif::print::PRINTER_ATTRIBUTE_WORK_OFFLINE) != 0;
        PrintServics::freePrinterInfo2(record);
        if (info.type == utility_enum::PRINTER_SYSTEM_NETWORK) return systemif::network::checkPing(fresh.hostAddress);
        if (PrintServics::isVirtualCOMPort(fresh.portName, kUsbEnumKey))
            return PrintServics::isVirtualCOMPortConnected(fresh.portName);
        return !offline;
    }
    case utility_enum::PRINTER_LIBUSB: {
        systemif::print::UsbDevice device;
        return usb_printer_list::findSupportedPrinter(device);
    }
    default:
        return true;
    }
}

void Printer::loadDataFromPRINTER_INFO2(PrinterInfo& info, const PRINTER_INFO_2W* record)
{
    if (!record) return;
    info.name = record->pPrinterName;
    info.model = record->pDriverName;
    if (info.width.isEmpty())
        info.width = info.model.contains(QLatin1String("80")) ? QStringLiteral("80mm") : QStringLiteral("58mm");
    info.portName = record->pPortName.section(QLatin1Char(':'), 0, 0);
    loadConnection(info);
    info.type = spoolerPrinterType(info.connectionType);
}

bool Printer::systemPrinterInfo(PrinterInfo& info)
{
    PRINTER_INFO_2W* record = nullptr;
    if (!PrintServics::queryPrinterInfo2(info.name, record) || !record) return false;
    loadDataFromPRINTER_INFO2(info, record);
    PrintServics::freePrinterInfo2(record);
    return true;
}

bool Printer::printDocBySysPrinter(const PrinterInfo& info, const Document& doc,
                                   const std::function<void(int, const QString&, bool)>& callback)
{
    log::entry(kLogUnit, __LINE__, "service_business::Printer::printDocBySysPrinter");
    if (!info.connected) {
        logError(__LINE__, "printer not connected");
        return false;
    }
    PrintServics::printBySystemPrinter(info.name, kDocumentName, doc, callback);
    return true;
}

bool Printer::printDocByUsbPrinter(const PrinterInfo& info, const Document& doc)
{
    log::entry(kLogUnit, __LINE__, "service_business::Printer::printDocByUsbPrinter");
    if (info.type != utility_enum::PRINTER_LIBUSB) return false;
    systemif::print::UsbDevice device;
    if (!usb_printer_list::findSupportedPrinter(device)) {
        logError(__LINE__, "can not find libusb printer");
        return false;
    }
    return PrintServics::libusbPrint(doc, &device);
}

}  // namespace service_business
