#include "service_business/printer_manager.h"

#include "printer/printer_status_watch_p.h"

#include "printer/usb_printer_list_p.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"
#include "service_business/os_printer_manager.h"
#include "service_business/print_manager.h"
#include "service_business/profile_manager.h"

#include "systemif/print.h"

#include <mutex>
#include <utility>

namespace service_business {

using namespace utility_business;
using namespace utility_business::utility_enum;
using json_db::JsonDB;
using systemif::print::PrintServics;

namespace {

const char* const kDefaultWidth = "58mm";

// Guards the stored printer list; see the header for who takes it.
std::mutex& printersMutex()
{
    static std::mutex mutex;
    return mutex;
}

QList<PrinterInfo> ofType(const QList<PrinterInfo>& printers, PrinterType type)
{
    QList<PrinterInfo> found;
    for (const PrinterInfo& info : printers)
        if (info.type == type) found << info;
    return found;
}

// Spooler printers are known by their name and print-support printers by their device; there is only
// ever one libusb printer.
bool samePrinter(const PrinterInfo& stored, const PrinterInfo& collected)
{
    if (stored.type != collected.type) return false;
    switch (stored.type) {
    case PRINTER_SYSTEM_LOCAL:
    case PRINTER_SYSTEM_NETWORK:
        return stored.name == collected.name;
    case PRINTER_USB_PRINT_SUPPORT:
        return stored.model == collected.model;
    case PRINTER_LIBUSB:
        return true;
    default:
        return false;
    }
}

int modificationOfType(const QList<PrinterInfo>& before, const QList<PrinterInfo>& after, PrinterType type)
{
    const QList<PrinterInfo> was = ofType(before, type);
    QList<PrinterInfo> is = ofType(after, type);
    if (was.isEmpty()) return is.isEmpty() ? PRINTER_UNCHANGED : PRINTER_ADDED;
    if (is.isEmpty()) return PRINTER_REMOVED;
    if (type == PRINTER_LIBUSB) return PRINTER_UNCHANGED;

    int bits = PRINTER_UNCHANGED;
    const bool spooler = type == PRINTER_SYSTEM_LOCAL || type == PRINTER_SYSTEM_NETWORK;
    for (const PrinterInfo& old : was) {
        int match = -1;
        for (int i = 0; i < is.size() && match < 0; ++i)
            if (samePrinter(old, is[i])) match = i;
        if (match < 0) {
            bits |= PRINTER_REMOVED;
            continue;
        }
        if (spooler && old.connected != is[match].connected) bits |= old.connected ? PRINTER_REMOVED : PRINTER_ADDED;
        is.removeAt(match);
    }
    if (!is.isEmpty()) bits |= PRINTER_ADDED;
    return bits;
}

PrinterInfo attachedPrinter(int id, const QString& name, PrinterType type, const QString& model = QString())
{
    PrinterInfo info;
    info.id = id;
    info.name = name;
    info.model = model;
    info.width = QLatin1String(kDefaultWidth);
    info.type = type;
    info.connected = true;
    return info;
}

bool libusbPrinterAttached()
{
    const QList<usb_printer_list::UsbId> supported = usb_printer_list::supportedList();
    bool listed = false;
    for (const systemif::print::UsbDevice& device : PrintServics::allUsbDevice())
        listed = listed || usb_printer_list::isSupported(device, supported);
    systemif::print::UsbDevice printer;
    return listed && usb_printer_list::findSupportedPrinter(printer);
}

// The operations below expect printersMutex to be held by the caller.

bool enablePrinterLocked(int profileId, int printerId)
{
    if (!JsonDB::browser()->printerCommonInfoList().contains(printerId)) return false;
    PrinterSettings settings;
    settings.width = QLatin1String(kDefaultWidth);
    settings.copiesCountOfOrder = 1;
    settings.copiesCountOfDineOrder = 1;
    settings.copiesCountOfPhoneOrder = 1;
    return JsonDB::updater()->enablePrinter(profileId, printerId, settings);
}

void disableAllPrinterLocked(int profileId)
{
    for (int printerId : JsonDB::browser()->enabledPrintCopies(profileId).keys())
        JsonDB::updater()->disablePrinter(profileId, printerId);
}

// Moves each profile's enabled printers, with their copies, to their new ids; the others are dropped.
void carryOverEnabledPrinters(const QMap<int, int>& idMap)
{
    for (const auto& profile : ProfileManager::profileList()) {
        const int profileId = profile->id();
        const QMap<int, PrintCopies> enabled = JsonDB::browser()->enabledPrintCopies(profileId);
        QList<std::pair<int, PrintCopies>> moved;
        for (auto it = enabled.cbegin(); it != enabled.cend(); ++it) {
            const int newId = idMap.key(it.key(), -1);
            if (newId >= 0) moved.append({newId, it.value()});
        }
        disableAllPrinterLocked(profileId);
        for (const auto& [newId, copies] : moved) {
            if (enablePrinterLocked(profileId, newId))
                PrinterManager::instancePrinter(profileId, newId)->setPrintCopies(copies);
        }
    }
}

}  // namespace

QList<PrinterInfo> PrinterManager::collectPrinters()
{
    QList<PrinterInfo> printers;
    const QStringList printSupport = PrintServics::collectUsbPrintSupportPrinters();
    for (int n = 1; n <= printSupport.size(); ++n) {
        printers << attachedPrinter(printers.size(), QStringLiteral("Usb打印支持%1").arg(n),
                                    PRINTER_USB_PRINT_SUPPORT, printSupport[n - 1]);
    }
    if (libusbPrinterAttached())
        printers << attachedPrinter(printers.size(), QStringLiteral("Libusb打印机"), PRINTER_LIBUSB);
    for (PrinterInfo info : OsPrinterManager::availableOSPrinterList()) {
        info.id = printers.size();
        info.connected = Printer::isConnected(info);
        printers << info;
    }
    return printers;
}

PrinterModification PrinterManager::checkPrinterModification(const QList<PrinterInfo>& before,
                                                             const QList<PrinterInfo>& after)
{
    int bits = PRINTER_UNCHANGED;
    for (PrinterType type : {PRINTER_USB_PRINT_SUPPORT, PRINTER_LIBUSB, PRINTER_SYSTEM_LOCAL, PRINTER_SYSTEM_NETWORK})
        bits |= modificationOfType(before, after, type);
    return static_cast<PrinterModification>(bits);
}

void PrinterManager::updatePrinters(const QList<PrinterInfo>& collected)
{
    std::lock_guard<std::mutex> lock(printersMutex());
    const QList<PrinterInfo> stored = JsonDB::browser()->printerList();
    QMap<int, PrinterInfo> storedById;
    for (const PrinterInfo& info : stored) storedById.insert(info.id, info);

    QMap<int, int> idMap;  // new id -> old id
    for (const PrinterInfo& old : stored)
        for (const PrinterInfo& now : collected)
            if (samePrinter(old, now)) idMap.insert(now.id, old.id);

    for (const PrinterInfo& old : stored) JsonDB::updater()->removePrinter(old.id);
    for (PrinterInfo now : collected) {
        // The width is the user's choice for the printer; a new collection only guesses it.
        if (idMap.contains(now.id)) now.width = storedById.value(idMap.value(now.id)).width;
        JsonDB::updater()->addPrinter(now);
    }
    PrintManager::printerHasChanged(idMap);
    carryOverEnabledPrinters(idMap);
}

void PrinterManager::lockPrinters() { printersMutex().lock(); }
void PrinterManager::unlockPrinters() { printersMutex().unlock(); }

QList<PrinterInfo> PrinterManager::printerInfoList()
{
    std::lock_guard<std::mutex> lock(printersMutex());
    return JsonDB::browser()->printerList();
}

PrinterInfo PrinterManager::printerInfo(int profileId, int printerId)
{
    std::lock_guard<std::mutex> lock(printersMutex());
    return JsonDB::browser()->printerInfo(profileId, printerId);
}

QList<PrinterInfo> PrinterManager::enabledPrinterInfoList(int profileId)
{
    std::lock_guard<std::mutex> lock(printersMutex());
    const QMap<int, PrinterProperties> stored = JsonDB::browser()->printerCommonInfoList();
    QList<PrinterInfo> enabled;
    int libusbAttached = -1;  // asked of the USB bus only when the profile has a libusb printer
    for (const PrinterInfo& info : JsonDB::browser()->enabledPrinterList(profileId)) {
        if (!stored.contains(info.id)) continue;
        if (info.type == PRINTER_LIBUSB) {
            if (libusbAttached < 0) libusbAttached = libusbPrinterAttached() ? 1 : 0;
            if (!libusbAttached) continue;
        }
        enabled << info;
    }
    return enabled;
}

bool PrinterManager::enablePrinter(int profileId, int printerId)
{
    std::lock_guard<std::mutex> lock(printersMutex());
    return enablePrinterLocked(profileId, printerId);
}

bool PrinterManager::disablePrinter(int profileId, int printerId)
{
    std::lock_guard<std::mutex> lock(printersMutex());
    return JsonDB::updater()->disablePrinter(profileId, printerId);
}

void PrinterManager::disableAllPrinter(int profileId)
{
    std::lock_guard<std::mutex> lock(printersMutex());
    disableAllPrinterLocked(profileId);
}

common::RefPtr<Printer> PrinterManager::instancePrinter(int profileId, int printerId)
{
    return common::RefPtr<Printer>(new Printer(profileId, printerId));
}

bool PrinterManager::updatePrinterWidth(int printerId, const QString& width)
{
    return JsonDB::updater()->updatePrinterWidth(printerId, width);
}

PrinterSettings PrinterManager::basisPrinterSettings(int profileId)
{
    return JsonDB::browser()->basisPrinterSettings(profileId);
}

PrinterSettings PrinterManager::printerSettings(int profileId, int printerId)
{
    return JsonDB::browser()->printSettings(profileId, printerId);
}

PrinterSettingsMode PrinterManager::printerSettingsMode(int profileId)
{
    return JsonDB::browser()->printerSettingsMode(profileId);
}

bool PrinterManager::setPrinterSettingsMode(int profileId, PrinterSettingsMode mode)
{
    return JsonDB::updater()->setPrinterSettingsMode(profileId, mode);
}

bool PrinterManager::updatePrinterSettings(int profileId, int printerId, const PrinterSettings& settings)
{
    return JsonDB::updater()->updatePrintCopies(profileId, printerId, settings.copies());
}

bool PrinterManager::setBasisPrintCopies(int profileId, const PrintCopies& copies)
{
    return JsonDB::updater()->setBasisPrinterSettings(profileId, copies);
}

GlobalPrintSettings PrinterManager::globalPrintSettings() { return JsonDB::browser()->globalPrintSettings(); }

bool PrinterManager::setGlobalPrintSettings(const GlobalPrintSettings& settings)
{
    return JsonDB::updater()->setPrinterGlobalSettings(settings);
}

void PrinterManager::watchPrinterStatus(int intervalMs)
{
    PrinterStatusWatch::instance().setInterval(std::chrono::milliseconds(std::max(intervalMs, 0)));
}

PrinterStatus PrinterManager::printerStatus(int printerId)
{
    return PrinterStatusWatch::instance().last(printerId);
}

}  // namespace service_business
