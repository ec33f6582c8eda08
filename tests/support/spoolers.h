#pragma once
// The two spoolers the print layer is tested against, behind one face, so that a contract suite runs the
// same cases on both: the in-memory fake (fast, every fault on demand) and a private cupsd whose raw queues
// lead to virtual printers on 127.0.0.1 (the real thing). Queue names are the test's own; each spooler
// maps them to names unique in the process, so that no test sees another's jobs.

#include <gtest/gtest.h>

#include <QByteArray>
#include <QList>
#include <QString>

#include <chrono>
#include <memory>
#include <ostream>

namespace test_support {

enum class SpoolerKind { Fake, Cups };

class SpoolerUnderTest {
public:
    virtual ~SpoolerUnderTest() = default;
    // Why this spooler cannot run here (the test skips); empty when it can.
    virtual QString unavailableReason() const = 0;
    // The spooler's name of the test's queue.
    virtual QString queue(const QString& name) const = 0;
    // A queue to a printer that prints.
    virtual void addQueue(const QString& name) = 0;
    virtual void removeQueue(const QString& name) = 0;
    // The queue holds its jobs; the queue refuses new jobs.
    virtual void setStopped(const QString& name, bool stopped) = 0;
    virtual void setRejecting(const QString& name, bool rejecting) = 0;
    // The printer is switched off: its jobs stay processing at the spooler and none of their bytes arrive.
    virtual void setPrinterOff(const QString& name, bool off) = 0;
    // The spooler stops answering any request, or answers again.
    virtual void setFrozen(bool frozen) = 0;
    // Waits until the queue's job `number` (1 for its first) is being sent to its printer; false after 20 s.
    virtual bool waitProcessing(const QString& name, int number) = 0;
    // Waits until that job is cancelled at the spooler; false after 20 s.
    virtual bool waitCancelled(const QString& name, int number) = 0;
    // Ends the job as printed, as its printer would; false where the spooler cannot do that on demand (cupsd).
    virtual bool finishPrinted(const QString& name, int number) = 0;
    // How many requests to cancel the job reached the spooler.
    virtual int cancelsOf(const QString& name, int number) const = 0;
    // What the queue's printer received, job by job, once `count` jobs have arrived (or 20 s have passed).
    virtual QList<QByteArray> printed(const QString& name, int count) = 0;
    // Lets whatever might still reach a printer arrive: for cupsd longer than its pause between two tries
    // to reach a printer.
    virtual void settle() = 0;
};

std::unique_ptr<SpoolerUnderTest> makeSpooler(SpoolerKind kind);
const char* spoolerName(SpoolerKind kind);
inline void PrintTo(SpoolerKind kind, std::ostream* out) { *out << spoolerName(kind); }

// The base of a contract suite: m_spooler is the spooler of the test's parameter; the test skips where it
// cannot run.
class SpoolerContractTest : public ::testing::TestWithParam<SpoolerKind> {
protected:
    void SetUp() override
    {
        m_spooler = makeSpooler(GetParam());
        const QString reason = m_spooler->unavailableReason();
        if (!reason.isEmpty()) GTEST_SKIP() << "no CUPS scheduler here: " << reason.toStdString();
    }

    std::unique_ptr<SpoolerUnderTest> m_spooler;
};

}  // namespace test_support
