#pragma once
// The notifications the service publishes to the client's other processes: the shop window of each
// profile (topic: the profile id in decimal) and the launcher (topic "KM_LAUNCHER_NAME"). Each message is
// published through a Sender of its own; a message the bus does not take is dropped, not retried.
//
// Each function returns within 2 seconds, whatever the bus does (a broker that is down or does not answer):
// a message waits at most 800 ms for the bus, and the messages still unsent when the time is up are dropped.
// closeApp returns within about 10 seconds; closeRelationalExe has no limit, by design.

#include "service_business/export.h"

#include "utility_business/utility_enum.h"

#include <QString>

namespace service_business {

struct PrinterStatus;

namespace utility {

// "networkHasChanged" (error, value) to every profile.
SERVICE_BUSINESS_EXPORT void notifyAppNetworkStatus(const utility_business::utility_enum::NetErrType& error,
                                                    const int& value);
// "printerHasChanged" (4) to the given profile: its set of enabled printers changed.
SERVICE_BUSINESS_EXPORT void notifyAppPrinterEnabledStateChanged(int profileId);
// "printerHasChanged" (the modification bits) to every profile.
SERVICE_BUSINESS_EXPORT void notifyAppPrinterModification(
    utility_business::utility_enum::PrinterModification modification);
// "printerStatusChanged" (printer id, state, reason: "paper-out", "the printer says it is out of paper") to
// every profile, so that each shop window can show what the printer needs.
SERVICE_BUSINESS_EXPORT void notifyAppPrinterStatusChanged(int printerId, const PrinterStatus& status);
// "systemPrintCompleted" (text, done) to the topic `id`.
SERVICE_BUSINESS_EXPORT void printOrderCallBack(int id, const QString& text, bool done);
// "pushMsgToBrowser" (text) to the launcher, then to every profile.
SERVICE_BUSINESS_EXPORT void pushMsgToAllBrowser(const QString& text);
// The browser message "pc.print.printersHasChanged" to all, through pushMsgToAllBrowser.
SERVICE_BUSINESS_EXPORT void pushPrintersHasChangedMsg();
// The browser message "pc.profile.profilesHasChanged" to all, through pushMsgToAllBrowser.
SERVICE_BUSINESS_EXPORT void pushProfilesHasChangedMsg();

// Asks the profile's window to close: "closeApp" every 200 ms while the profile is marked in use, at most
// 50 times and for 10 seconds in all. True when the profile is not in use afterwards, and at once for an
// unknown profile. Blocks the calling thread for up to about 10 seconds, also when the bus is down.
SERVICE_BUSINESS_EXPORT bool closeApp(int profileId);
// Asks the launcher to close ("closeLauncher"), then sends "closeApp" to every profile every 200 ms for as
// long as a shop-window process runs, with no limit: it returns only when the last one has gone. Writes
// its progress to standard output.
SERVICE_BUSINESS_EXPORT void closeRelationalExe();

}  // namespace utility
}  // namespace service_business
