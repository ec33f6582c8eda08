#include "service_business/print_cmd_formater.h"

#include "print_cmd_formater_p.h"
#include "print_text_sanitiser_p.h"

#include "common/common.h"
#include "utility_business/json_document.h"

#include <exception>

namespace service_business {
namespace print_cmd_formater {

using namespace utility_business;

namespace {

const EngineEntries kEngine{format_online_order, format_local_order, format_summary, engine_free};
const EngineEntries* g_engine = &kEngine;

// Releases the engine's buffer however the copy ends.
class EngineBuffer {
public:
    ~EngineBuffer() { g_engine->free(&data); }
    uint8_t* data = nullptr;
    uint32_t length = 0;
};

bool callEngine(EngineFormat entry, const QByteArray& restaurantJson, const QByteArray& documentJson,
                const QByteArray& settingsJson, QByteArray& out, QString& error)
{
    try {
        EngineBuffer buffer;
        if (entry(&buffer.data, &buffer.length, restaurantJson.constData(), documentJson.constData(),
                  settingsJson.constData()) != ENGINE_OK)
            return false;
        out = QByteArray(reinterpret_cast<const char*>(buffer.data), static_cast<int>(buffer.length));
        return true;
    } catch (const std::exception& e) {
        error = get_qstring(e.what());
        return false;
    }
}

bool parses(const QString& json)
{
    JsonDocument doc;
    QString error;
    return doc.fromString(json, error);
}

}  // namespace

void setEngineEntriesForTesting(const EngineEntries* entries) { g_engine = entries ? entries : &kEngine; }

bool formatOnlineOrderBytes(const QByteArray& restaurantJson, const QByteArray& orderJson,
                            const QByteArray& settingsJson, QByteArray& out, QString& error)
{
    return callEngine(g_engine->formatOnlineOrder, restaurantJson, orderJson, settingsJson, out, error);
}

bool formatLocalOrderBytes(const QByteArray& restaurantJson, const QByteArray& orderJson,
                           const QByteArray& settingsJson, QByteArray& out, QString& error)
{
    return callEngine(g_engine->formatLocalOrder, restaurantJson, orderJson, settingsJson, out, error);
}

bool formatSummaryBytes(const QByteArray& restaurantJson, const QByteArray& summaryJson,
                        const QByteArray& settingsJson, QByteArray& out, QString& error)
{
    return callEngine(g_engine->formatSummary, restaurantJson, summaryJson, settingsJson, out, error);
}

QByteArray formatOrder(const QString& restaurantJson, const QString& orderJson, utility_enum::OrderType orderType,
                       const SummaryPrintSettings& settings)
{
    int copies = 0;
    switch (orderType) {
    case utility_enum::ORDER_ONLINE: copies = settings.copiesOfOnlineOrder; break;
    case utility_enum::ORDER_DINE: copies = settings.copiesOfDineOrder; break;
    case utility_enum::ORDER_PHONE: copies = settings.copiesOfPhoneOrder; break;
    default: return {};  // no layout for it; the engine is not entered
    }

    JsonDocument order;
    QString error;
    if (!order.fromString(orderJson, error)) return {};
    // The restaurant text is only checked here; it reaches the engine exactly as given.
    if (!parses(restaurantJson)) return {};
    order.transformStrings(stripPrinterControls);

    JsonDocument printSettings;
    printSettings.setInt({QStringLiteral("number_of_copies")}, copies);
    printSettings.setBool({QStringLiteral("isPrintBarcodeEnabled")}, settings.isPrintBarcodeEnabled);
    printSettings.setString({QStringLiteral("lines_between_copies")}, settings.lines_between_copies);
    printSettings.setString({QStringLiteral("style")}, settings.style);
    printSettings.setString({QStringLiteral("width")}, settings.width);

    const QByteArray restaurant = restaurantJson.toUtf8();
    const QByteArray orderText = order.toCompactString().toUtf8();
    const QByteArray settingsText = printSettings.toCompactString().toUtf8();
    QByteArray receipt;
    const bool formatted = orderType == utility_enum::ORDER_ONLINE
                               ? formatOnlineOrderBytes(restaurant, orderText, settingsText, receipt, error)
                               : formatLocalOrderBytes(restaurant, orderText, settingsText, receipt, error);
    return formatted ? receipt : QByteArray();
}

QByteArray formatSummary(const QString& restaurantJson, const QString& summaryJson, const PrinterInfo& printer)
{
    JsonDocument summary;
    QString error;
    if (!summary.fromString(summaryJson, error)) return {};
    if (!parses(restaurantJson)) return {};

    JsonDocument printSettings;
    printSettings.setInt({QStringLiteral("number_of_copies")}, 1);  // the summary always prints once
    printSettings.setString({QStringLiteral("width")}, printer.width);

    QByteArray receipt;
    const bool formatted = formatSummaryBytes(restaurantJson.toUtf8(), summary.toCompactString().toUtf8(),
                                              printSettings.toCompactString().toUtf8(), receipt, error);
    return formatted ? receipt : QByteArray();
}

}  // namespace print_cmd_formater
}  // namespace service_business
