#pragma once
// The registry of the printers the client knows: it collects the printers attached now, tells what changed
// since the stored collection, stores a new collection while keeping each printer's id history, width and
// each profile's enabled printers and copies, and forwards the per-profile printer settings to the
// settings store.
//
// One process-wide mutex guards the stored printer list. It is not recursive: a caller that holds it
// through lockPrinters must not call the operations that take it (printerInfoList, printerInfo,
// enabledPrinterInfoList, enablePrinter, disablePrinter, disableAllPrinter, updatePrinters). It is taken
// before print dispatch's own lock.

#include "service_business/export.h"
#include "service_business/printer_status.h"
#include "service_business/printer.h"

#include "common/common.h"
#include "utility_business/utility_enum.h"
#include "utility_business/utility_structs.h"

#include <QList>
#include <QMap>
#include <QString>

namespace service_business {

class SERVICE_BUSINESS_EXPORT PrinterManager {
public:
    // The printers attached now, with ids from 0 in this order: the USB print-support printers
    // ("Usb打印支持1", ...), the supported libusb printer ("Libusb打印机") when one is attached, then the
    // spooler's printers with their connection tested.
    static QList<utility_business::PrinterInfo> collectPrinters();
    // What changed from one collection to the next: bit 1 a printer appeared or got connected, bit 2 one
    // went away or lost its connection.
    static utility_business::utility_enum::PrinterModification checkPrinterModification(
        const QList<utility_business::PrinterInfo>& before, const QList<utility_business::PrinterInfo>& after);
    // Replaces the stored printers by a new collection. A printer that was stored before keeps its width;
    // its print worker, and in every profile its enabled state and copies, move to its new id. A printer
    // that is gone is disabled everywhere and its worker stopped. The list is held throughout; the stopped
    // jobs' callbacks run later, on a thread of print dispatch, without it, so they may call anything.
    static void updatePrinters(const QList<utility_business::PrinterInfo>& collected);

    // Hold the printer list across several calls (see above).
    static void lockPrinters();
    static void unlockPrinters();

    static QList<utility_business::PrinterInfo> printerInfoList();
    static utility_business::PrinterInfo printerInfo(int profileId, int printerId);
    // The profile's enabled printers that are stored now; a libusb printer only while a supported one is
    // attached.
    static QList<utility_business::PrinterInfo> enabledPrinterInfoList(int profileId);
    // Enables a stored printer in the profile with width "58mm" and one copy of each order kind (whatever
    // the printer's own width); false, with nothing stored, for a printer id the store does not hold.
    static bool enablePrinter(int profileId, int printerId);
    static bool disablePrinter(int profileId, int printerId);
    static void disableAllPrinter(int profileId);
    // A new Printer for the ids on every call, deleted with its last reference.
    static common::RefPtr<Printer> instancePrinter(int profileId, int printerId);

    // Watches the status of the stored printers every `intervalMs` (5000 suits a shop), skipping a printer
    // while it prints a job of ours, and publishes each change ("printerStatusChanged"); 0 stops it.
    static void watchPrinterStatus(int intervalMs);
    // The status the watch last read of the printer; Unknown, from no source, before the first read.
    static PrinterStatus printerStatus(int printerId);
    static bool updatePrinterWidth(int printerId, const QString& width);

    // Forwards to the settings store.
    static utility_business::PrinterSettings basisPrinterSettings(int profileId);
    static utility_business::PrinterSettings printerSettings(int profileId, int printerId);
    static utility_business::utility_enum::PrinterSettingsMode printerSettingsMode(int profileId);
    static bool setPrinterSettingsMode(int profileId, utility_business::utility_enum::PrinterSettingsMode mode);
    // Stores the copies of an enabled printer; the width is the printer's own (updatePrinterWidth).
    static bool updatePrinterSettings(int profileId, int printerId, const utility_business::PrinterSettings& settings);
    static bool setBasisPrintCopies(int profileId, const utility_business::PrintCopies& copies);
    static utility_business::GlobalPrintSettings globalPrintSettings();
    static bool setGlobalPrintSettings(const utility_business::GlobalPrintSettings& settings);
};

}  // namespace service_business
