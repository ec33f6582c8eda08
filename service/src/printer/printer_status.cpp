#include "service_business/printer_status.h"

#include "printer/usb_printer_list_p.h"
#include "service_business/printer.h"

#include "systemif/escpos_status.h"
#include "systemif/print.h"

#include <QUrl>

namespace service_business {

using namespace utility_business;
using systemif::print::PrinterAnswer;
using systemif::print::PrintServics;
using State = PrinterStatus::State;
using Source = PrinterStatus::Source;

namespace {

const char* const kStateNames[] = {"ready",    "paused",    "rejecting",      "unreachable", "offline",
                                   "cover-open", "paper-out", "paper-near-end", "error",       "unknown"};
const char* const kSourceNames[] = {"queue", "printer", "none"};

PrinterStatus statusOf(State state, Source source, const QString& reason)
{
    PrinterStatus status;
    status.state = state;
    status.source = source;
    status.reason = reason;
    status.readAt = QDateTime::currentDateTimeUtc();
    return status;
}

// CUPS' reason keywords ("media-empty-error", "cover-open-warning") by what they mean for printing.
State stateOfReasons(const QStringList& reasons)
{
    struct Keyword {
        const char* prefix;
        State state;
    };
    static const Keyword kKeywords[] = {
        {"media-empty", State::PaperOut},     {"media-needed", State::PaperOut}, {"cover-open", State::CoverOpen},
        {"door-open", State::CoverOpen},      {"offline", State::Offline},       {"shutdown", State::Offline},
        {"media-low", State::PaperNearEnd},
    };
    for (const Keyword& keyword : kKeywords)
        for (const QString& reason : reasons)
            if (reason.startsWith(QLatin1String(keyword.prefix))) return keyword.state;
    for (const QString& reason : reasons)
        if (reason.endsWith(QLatin1String("-error"))) return State::Error;
    return State::Ready;
}

PrinterStatus ofCondition(systemif::escpos::Condition condition)
{
    using systemif::escpos::Condition;
    State state = State::Error;
    switch (condition) {
    case Condition::Ready: state = State::Ready; break;
    case Condition::PaperNearEnd: state = State::PaperNearEnd; break;
    case Condition::PaperOut: state = State::PaperOut; break;
    case Condition::CoverOpen: state = State::CoverOpen; break;
    case Condition::Offline: state = State::Offline; break;
    case Condition::Error:
    case Condition::Garbled: break;
    }
    return statusOf(state, Source::Printer,
                    QStringLiteral("the printer says it is %1").arg(QLatin1String(systemif::escpos::conditionText(condition))));
}

// A network printer that a socket:// or escpos:// queue prints to, asked itself.
PrinterStatus askPrinter(const QUrl& device)
{
    const PrinterAnswer answer = PrintServics::askPrinterStatus(device.host(), device.port(9100));
    switch (answer.reach) {
    case PrinterAnswer::Reach::Unreachable:
        return statusOf(State::Unreachable, Source::Printer, answer.error);
    case PrinterAnswer::Reach::Silent:
        return statusOf(State::Unknown, Source::Printer, QStringLiteral("the printer does not answer status requests"));
    case PrinterAnswer::Reach::Answered:
        break;
    }
    return ofCondition(systemif::escpos::conditionOf(answer.answers, answer.count));
}

// The port status of a USB printer: bit 5 paper empty, bit 4 selected, bit 3 not in error.
PrinterStatus ofPortStatus(unsigned char port)
{
    if (port & 0x20) return statusOf(State::PaperOut, Source::Printer, QStringLiteral("the printer reports paper empty"));
    if (!(port & 0x10)) return statusOf(State::Offline, Source::Printer, QStringLiteral("the printer is not selected"));
    if (!(port & 0x08)) return statusOf(State::Error, Source::Printer, QStringLiteral("the printer reports an error"));
    return statusOf(State::Ready, Source::Printer, QStringLiteral("the printer reports ready"));
}

PrinterStatus queuePrinterStatus(const PrinterInfo& info)
{
    systemif::print::QueueState queue;
    if (!PrintServics::queueState(info.name, queue))
        return statusOf(State::Unreachable, Source::Queue,
                        QStringLiteral("CUPS does not answer, or has no queue \"%1\"").arg(info.name));
    auto withMessage = [&queue](const QString& fallback) { return queue.message.isEmpty() ? fallback : queue.message; };
    if (queue.stopped) return statusOf(State::Paused, Source::Queue, withMessage(QStringLiteral("its CUPS queue is paused")));
    if (!queue.acceptingJobs)
        return statusOf(State::Rejecting, Source::Queue, withMessage(QStringLiteral("its CUPS queue rejects jobs")));
    const State reported = stateOfReasons(queue.reasons);
    if (reported != State::Ready)
        return statusOf(reported, Source::Queue, withMessage(queue.reasons.join(QLatin1Char(' '))));
    const QUrl device(queue.deviceUri);
    const QString scheme = device.scheme().toLower();
    if (scheme == QLatin1String("socket") || scheme == QLatin1String("escpos")) return askPrinter(device);
    if (info.type == utility_enum::PRINTER_SYSTEM_LOCAL && !Printer::isConnected(info))
        return statusOf(State::Unreachable, Source::Queue, QStringLiteral("its device is not there"));
    return statusOf(State::Ready, Source::Queue, QStringLiteral("its CUPS queue is ready"));
}

}  // namespace

bool PrinterStatus::blocksPrinting() const
{
    switch (state) {
    case State::Paused:
    case State::Rejecting:
    case State::Offline:
    case State::CoverOpen:
    case State::PaperOut:
    case State::Error:
        return true;
    case State::Ready:
    case State::Unreachable:  // it may come back while the job waits; the watchdog bounds the wait
    case State::PaperNearEnd:
    case State::Unknown:
        break;
    }
    return false;
}

bool PrinterStatus::sameAs(const PrinterStatus& other) const
{
    return state == other.state && source == other.source && reason == other.reason;
}

QString PrinterStatus::stateName(State state)
{
    return QLatin1String(kStateNames[static_cast<int>(state)]);
}

QString PrinterStatus::sourceName(Source source)
{
    return QLatin1String(kSourceNames[static_cast<int>(source)]);
}

QJsonObject PrinterStatus::toJson() const
{
    return QJsonObject{{QStringLiteral("state"), stateName(state)},
                       {QStringLiteral("source"), sourceName(source)},
                       {QStringLiteral("reason"), reason},
                       {QStringLiteral("readAt"), readAt.toString(Qt::ISODate)}};
}

PrinterStatus Printer::printerStatus(const PrinterInfo& info)
{
    switch (info.type) {
    case utility_enum::PRINTER_SYSTEM_LOCAL:
    case utility_enum::PRINTER_SYSTEM_NETWORK:
        return queuePrinterStatus(info);
    case utility_enum::PRINTER_LIBUSB: {
        systemif::print::UsbDevice device;
        unsigned char port = 0;
        if (!usb_printer_list::findSupportedPrinter(device))
            return statusOf(State::Unreachable, Source::None, QStringLiteral("no supported libusb printer is attached"));
        if (!PrintServics::libusbPortStatus(device, &port))
            return statusOf(State::Unknown, Source::None, QStringLiteral("the printer does not answer status requests"));
        return ofPortStatus(port);
    }
    case utility_enum::PRINTER_USB_PRINT_SUPPORT: {
        unsigned char port = 0;
        if (!PrintServics::collectUsbPrintSupportPrinters().contains(info.model))
            return statusOf(State::Unreachable, Source::None, QStringLiteral("%1 is not there").arg(info.model));
        if (!PrintServics::usbPrintSupportPortStatus(info.model, &port))
            return statusOf(State::Unknown, Source::None, QStringLiteral("the printer does not answer status requests"));
        return ofPortStatus(port);
    }
    default:
        return statusOf(State::Unknown, Source::None, QStringLiteral("a printer of this type cannot be asked"));
    }
}

}  // namespace service_business
