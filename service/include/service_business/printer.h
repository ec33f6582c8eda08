#pragma once
// One configured printer of one profile, and the static operations of printing: a spooler record made into
// a PrinterInfo, whether a printer is reachable, a receipt byte stream made into a spooler document, and
// the print paths of the spooler and of a raw libusb printer.
//
// A Printer holds only its two ids; everything else is read from the settings store each time it is asked
// for. Printers are made by PrinterManager::instancePrinter. Print jobs go through PrintManager::printOrder,
// whose worker threads call the static print paths here.

#include "service_business/export.h"
#include "service_business/printer_status.h"

#include "systemif/print.h"
#include "utility_business/utility_enum.h"
#include "utility_business/utility_structs.h"

#include <QByteArray>
#include <QObject>
#include <QString>

#include <functional>

namespace service_business {

class PrinterManager;

class SERVICE_BUSINESS_EXPORT Printer : public QObject {
    Q_OBJECT

public:
    int id() const { return m_printerId; }
    int profileID() const { return m_profileId; }

    // Fields of the stored record of this printer.
    QString name() const;
    utility_business::utility_enum::PrinterType type() const;
    QString width() const;
    // The stored record, refreshed from the spooler for spooler printers, with `connected` tested now.
    utility_business::PrinterInfo printerInfo() const;
    // Stores the printer's copies in the profile; false when the store refused them.
    bool setPrintCopies(const utility_business::PrintCopies& copies);
    // Kept for callers of the old interface: returns true and prints nothing; the callback is never
    // called. Print through PrintManager::printOrder.
    bool printDoc(const QByteArray& printCmd, const std::function<void(bool)>& callback);

    // The receipt stream in the printer's code page: each NUL-separated piece decoded as UTF-8, simplified,
    // characters outside GB2312 spelt in pinyin, encoded, and followed by one NUL byte (so an empty stream
    // gives a single NUL).
    static systemif::print::Document buildDocument(const QByteArray& printCmd);
    // The code page that buildDocument encodes in: GB18030 unless SERVICE_BUSINESS_CODEPAGE names another
    // codec at the first use, or setCodePage chose one. False, and the code page unchanged, for a name
    // that no codec has.
    static bool setCodePage(const QByteArray& codecName);

    // Formatter settings from the profile's basis settings (width, copies) and the global print settings.
    static utility_business::SummaryPrintSettings getBasisSummaryPrintSettings(int profileId);
    // Formatter settings with the printer's width, default copies and the global print settings.
    static utility_business::SummaryPrintSettings getSummaryPrintSettings(int profileId, int printerId);

    // Whether the printer can be reached now, by its type: the spooler's offline bit or the virtual COM
    // port's device for local spooler printers, a ping of the host for network ones, an attached supported
    // device for libusb printers; every other type counts as connected.
    static bool isConnected(const utility_business::PrinterInfo& info);
    // What the printer says of itself now, from the best source for its type: its CUPS queue (paused,
    // rejecting, the reasons CUPS gives) and, for a queue on a socket:// or escpos:// printer, the printer's
    // own answer to an ESC/POS status request; the USB port status for libusb and USB print-support
    // printers. Every wait is short (the printer is asked for a fraction of a second).
    static PrinterStatus printerStatus(const utility_business::PrinterInfo& info);
    // Fills name, model, width (when empty), port name, connection type, host, port and type from a
    // spooler record; a null record leaves `info` as it is. Type is 1 for a "local" connection, 2 for a
    // "network" one and 0 otherwise.
    static void loadDataFromPRINTER_INFO2(utility_business::PrinterInfo& info,
                                          const systemif::print::PRINTER_INFO_2W* record);
    // Refreshes `info` from the spooler's record of the printer named info.name; false, and `info`
    // unchanged, when the spooler has no such printer.
    static bool systemPrinterInfo(utility_business::PrinterInfo& info);

    // Sends the document to the spooler printer; the callback hears how the job ended. False, without a
    // callback, when info.connected is false; true otherwise, whatever the spooler answers.
    static bool printDocBySysPrinter(const utility_business::PrinterInfo& info,
                                     const systemif::print::Document& doc,
                                     const std::function<void(int, const QString&, bool)>& callback);
    // Writes the document to the attached supported libusb printer; false for another type of printer,
    // when no such printer is attached, or when the write failed.
    static bool printDocByUsbPrinter(const utility_business::PrinterInfo& info, const systemif::print::Document& doc);

private:
    Printer(int profileId, int printerId);
    friend class PrinterManager;

    const int m_profileId;
    const int m_printerId;
};

}  // namespace service_business
