#pragma once
// Receipt bytes for one order or for the day's summary, laid out by the receipt engine.

#include "service_business/export.h"

#include "utility_business/utility_enum.h"
#include "utility_business/utility_structs.h"

#include <QByteArray>
#include <QString>

namespace service_business {
namespace print_cmd_formater {

// The printer bytes of one order, or an empty array when either JSON text is invalid, the order type is
// not 0, 1 or 2, or the engine cannot lay the order out. Control characters in the order's texts (typed by
// customers) are dropped, tabs and line breaks become spaces, so they cannot drive the printer.
SERVICE_BUSINESS_EXPORT QByteArray formatOrder(const QString& restaurantJson, const QString& orderJson,
                                               utility_business::utility_enum::OrderType orderType,
                                               const utility_business::SummaryPrintSettings& settings);

// The printer bytes of the daily summary, one copy on the printer's paper width; empty on any failure.
SERVICE_BUSINESS_EXPORT QByteArray formatSummary(const QString& restaurantJson, const QString& summaryJson,
                                                 const utility_business::PrinterInfo& printer);

}  // namespace print_cmd_formater
}  // namespace service_business
