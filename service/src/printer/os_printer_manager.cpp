#include "service_business/os_printer_manager.h"

#include "service_business/printer.h"

#include "systemif/print.h"

#include <QMap>

#include <mutex>

namespace service_business {

using namespace utility_business;
using systemif::print::PRINTER_INFO_2W;
using systemif::print::PrintServics;

namespace {
std::mutex g_cacheMutex;
QMap<QString, PrinterInfo> g_cache;  // by printer name; refilled at each listing, guarded by g_cacheMutex
}  // namespace

QList<PrinterInfo> OsPrinterManager::availableOSPrinterList()
{
    std::lock_guard<std::mutex> lock(g_cacheMutex);
    g_cache.clear();
    int count = 0;
    PRINTER_INFO_2W* records = nullptr;
    if (PrintServics::printerInfo2List(count, records)) {
        for (int i = 0; i < count; ++i) {
            PrinterInfo info;
            Printer::loadDataFromPRINTER_INFO2(info, &records[i]);
            g_cache.insert(info.name, info);  // a later record of the same name replaces the earlier one
        }
        PrintServics::freePrinterInfo2List(records);
    }
    QList<PrinterInfo> usable;
    for (const PrinterInfo& info : qAsConst(g_cache))
        if (info.type != utility_enum::PRINTER_UNUSABLE) usable << info;
    return usable;
}

}  // namespace service_business
