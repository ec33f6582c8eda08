#pragma once
//
//  Private to systemif: not part of its interface.
//  The spooler on Linux: the CUPS scheduler named by
//  cupsServer() (CUPS_SERVER, client.conf, or the local default).
//

#include "systemif/print_backend.h"

namespace systemif {
namespace print {

// Every call opens a connection of its own (a job keeps its connection until it is destroyed), never
// libcups' shared per-thread one, so a print worker that is given up and left to finish takes nothing with
// it that others use. Calls give up after a few seconds of silence from the scheduler (a cancel after half
// a second), so a worker left to finish ends soon after.
class CupsSpooler : public Spooler {
public:
    bool queues(QList<SpoolerQueue>& queues) override;
    std::unique_ptr<SpoolerJob> createJob(const QString& printer, const QString& docName) override;
    SpoolerCancel cancel(const QString& printer, int jobId) override;
};

}  // namespace print
}  // namespace systemif
