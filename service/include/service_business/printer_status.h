#pragma once
// What a printer says of itself now, beside PrinterInfo's `connected` (whose rules it leaves alone): read
// from the best source for its kind of printer (Printer::printerStatus), watched by the printer registry,
// and used before a job is sent so that a job to a printer out of paper fails at once instead of being
// lost.

#include "service_business/export.h"

#include <QDateTime>
#include <QJsonObject>
#include <QString>

namespace service_business {

struct SERVICE_BUSINESS_EXPORT PrinterStatus {
    enum class State {
        Ready,
        Paused,        // its CUPS queue holds jobs
        Rejecting,     // its CUPS queue refuses new jobs
        Unreachable,   // nothing answers where it should be, or its device is unplugged
        Offline,       // it says it is offline
        CoverOpen,
        PaperOut,
        PaperNearEnd,  // prints, but needs paper soon
        Error,
        Unknown,       // it does not answer status requests (it may well print)
    };
    enum class Source {
        Queue,    // its CUPS queue
        Printer,  // the printer itself (ESC/POS status, the USB port status)
        None,     // nothing could be asked
    };

    State state = State::Unknown;
    Source source = Source::None;
    QString reason;    // for people: "the printer says it is out of paper"
    QDateTime readAt;  // when it was read (UTC)

    // Whether a job sent now cannot print: paused, rejecting, offline, cover open, out of paper, in error.
    bool blocksPrinting() const;
    // The same state, source and reason (the reading time aside).
    bool sameAs(const PrinterStatus& other) const;

    // "ready", "paused", "rejecting", "unreachable", "offline", "cover-open", "paper-out", "paper-near-end",
    // "error", "unknown"; and "queue", "printer", "none".
    static QString stateName(State state);
    static QString sourceName(Source source);
    // {"state": ..., "source": ..., "reason": ..., "readAt": "2026-11-23T16:00:00Z"}
    QJsonObject toJson() const;
};

}  // namespace service_business
