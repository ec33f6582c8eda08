#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// The adapters between the formatter and the receipt engine's entry functions.

#include "receipt_engine/receipt_engine.h"

#include <QByteArray>
#include <QString>

namespace service_business {
namespace print_cmd_formater {

using EngineFormat = EngineError (*)(uint8_t** out, uint32_t* outLength, const char* restaurantJson,
                                     const char* documentJson, const char* settingsJson);

// The engine functions the formatter calls.
struct EngineEntries {
    EngineFormat formatOnlineOrder;
    EngineFormat formatLocalOrder;
    EngineFormat formatSummary;
    void (*free)(uint8_t** buffer);
};

// Replaces the engine functions for every later call, so tests can watch what reaches the engine; null
// restores the real ones.
void setEngineEntriesForTesting(const EngineEntries* entries);

// Each adapter runs one engine entry on three UTF-8 JSON texts. On success it copies the receipt into
// `out`, releases the engine's buffer and returns true; on an engine error it returns false and leaves
// `out` untouched; a standard exception becomes false with its message in `error`.
bool formatOnlineOrderBytes(const QByteArray& restaurantJson, const QByteArray& orderJson,
                            const QByteArray& settingsJson, QByteArray& out, QString& error);
bool formatLocalOrderBytes(const QByteArray& restaurantJson, const QByteArray& orderJson,
                           const QByteArray& settingsJson, QByteArray& out, QString& error);
bool formatSummaryBytes(const QByteArray& restaurantJson, const QByteArray& summaryJson,
                        const QByteArray& settingsJson, QByteArray& out, QString& error);

}  // namespace print_cmd_formater
}  // namespace service_business
