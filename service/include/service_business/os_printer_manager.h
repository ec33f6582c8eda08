#pragma once
// The printers of the system spooler, as printer records.

#include "service_business/export.h"

#include "utility_business/utility_structs.h"

#include <QList>

namespace service_business {

class SERVICE_BUSINESS_EXPORT OsPrinterManager {
public:
    // The spooler's printers that the client can print to (type 1 on a local port, type 2 on a TCP/IP
    // port), in name order, one record per name. A printer on any other port is left out; an empty list
    // when the spooler cannot be asked. Safe from any thread.
    static QList<utility_business::PrinterInfo> availableOSPrinterList();
};

}  // namespace service_business
