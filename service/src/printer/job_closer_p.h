#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// Gives print jobs up (the watchdog's, a printer change's, a user's cancel), each batch on a thread of its
// own so that no caller waits for the spooler: a job that has not been told yet is taken from its print
// path, cancelled at the spooler, and its caller told how it ended (PrintJobSlot::settle). While the
// spooler does not answer, the cancel is tried again every second until it takes, and the log says how
// the job finally ended.

#include "printer/print_thread_p.h"

#include <QList>
#include <QString>

#include <chrono>

namespace service_business {
namespace job_closer {

// `why` starts each outcome's reason ("given up after 10 s").
void giveUp(const QList<PrintItem>& items, const QString& why);
// The same for jobs whose slots the caller has claimed already.
void giveUpClaimed(const QList<PrintItem>& items, const QString& why);
// Waits until every thread of giveUp has ended; false when one still runs at the time-out.
bool waitUntilIdle(std::chrono::milliseconds timeout);

}  // namespace job_closer
}  // namespace service_business
