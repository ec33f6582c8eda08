#include "spoolers.h"

#include "cups_printers.h"

#include "systemif/print_fake.h"

#include <gtest/gtest.h>

#include <QMap>
#include <QThread>

#include <atomic>
#include <functional>
#include <map>

namespace test_support {

namespace {

using namespace std::chrono_literals;
using systemif::print::FakeSpooler;
using systemif::print::SpoolerJobState;

bool waitUntil(const std::function<bool()>& done)
{
    for (int i = 0; i < 2000; ++i) {
        if (done()) return true;
        QThread::msleep(10);
    }
    return false;
}

QString uniqueName(const QString& name)
{
    static std::atomic<int> next{1};
    return name + QLatin1Char('_') + QString::number(next++);
}

class FakeUnderTest : public SpoolerUnderTest {
public:
    QString unavailableReason() const override { return {}; }
    QString queue(const QString& name) const override { return m_names.value(name, name); }
    void addQueue(const QString& name) override
    {
        m_names[name] = uniqueName(name);
        m_fake.spooler.addQueue(queue(name), "POS-80", "socket://192.168.1.20:9100");
    }
    void removeQueue(const QString& name) override { m_fake.spooler.removeQueue(queue(name)); }
    void setStopped(const QString& name, bool stopped) override { m_fake.spooler.setStopped(queue(name), stopped); }
    void setRejecting(const QString& name, bool rejecting) override
    {
        m_fake.spooler.setAcceptingJobs(queue(name), !rejecting);
    }
    void setPrinterOff(const QString& name, bool off) override
    {
        m_fake.spooler.setJobOutcome(queue(name), off ? FakeSpooler::JobOutcome::Hang : FakeSpooler::JobOutcome::Complete);
    }
    void setFrozen(bool frozen) override { m_fake.spooler.setFrozen(frozen); }
    bool waitProcessing(const QString& name, int number) override
    {
        return waitUntil([&] { return jobState(name, number) == SpoolerJobState::Processing; });
    }
    bool waitCancelled(const QString& name, int number) override
    {
        return waitUntil([&] {
            const SpoolerJobState state = jobState(name, number);
            return state == SpoolerJobState::Interrupted || state == SpoolerJobState::Failed;
        });
    }
    bool finishPrinted(const QString& name, int number) override
    {
        m_fake.spooler.finishJob(job(name, number).id, true);
        return true;
    }
    int cancelsOf(const QString& name, int number) const override { return job(name, number).cancels; }
    QList<QByteArray> printed(const QString& name, int count) override
    {
        waitUntil([&] { return m_fake.spooler.printed(queue(name)).size() >= count; });
        return m_fake.spooler.printed(queue(name));
    }
    void settle() override {}

private:
    FakeSpooler::Job job(const QString& name, int number) const
    {
        int seen = 0;
        for (const FakeSpooler::Job& job : m_fake.spooler.jobs())
            if (job.printer == queue(name) && ++seen == number) return job;
        return {};
    }
    SpoolerJobState jobState(const QString& name, int number) const
    {
        const FakeSpooler::Job found = job(name, number);
        return found.id ? found.state : SpoolerJobState::Unknown;
    }

    systemif::print::FakePrintSystem m_fake;
    QMap<QString, QString> m_names;
};

class CupsUnderTest : public SpoolerUnderTest {
public:
    QString unavailableReason() const override
    {
        const QString reason = CupsdHarness::unavailableReason();
        if (!reason.isEmpty()) return reason;
        return sharedCupsd() ? QString() : QStringLiteral("cupsd did not start");
    }
    QString queue(const QString& name) const override { return m_names.value(name, name); }
    void addQueue(const QString& name) override
    {
        m_names[name] = uniqueName(name);
        m_printers[name] = startPrinter(*cups(), queue(name));
    }
    void removeQueue(const QString& name) override { cups()->deleteQueue(queue(name)); }
    void setStopped(const QString& name, bool stopped) override
    {
        stopped ? cups()->stopQueue(queue(name)) : cups()->startQueue(queue(name));
    }
    void setRejecting(const QString& name, bool rejecting) override
    {
        rejecting ? cups()->rejectJobs(queue(name)) : cups()->acceptJobs(queue(name));
    }
    void setPrinterOff(const QString& name, bool off) override { m_printers[name]->printer->setRefuse(off); }
    void setFrozen(bool frozen) override { frozen ? cups()->freeze() : cups()->thaw(); }
    bool waitProcessing(const QString& name, int number) override { return waitForState(name, number, {5}); }
    bool waitCancelled(const QString& name, int number) override { return waitForState(name, number, {7, 8}); }
    bool finishPrinted(const QString&, int) override { return false; }
    int cancelsOf(const QString& name, int number) const override
    {
        return cups()->jobState(jobId(name, number)) == 7 ? 1 : 0;
    }
    QList<QByteArray> printed(const QString& name, int count) override
    {
        const PrinterDevice& device = *m_printers[name];
        device.printer->waitForJobs(count, 20s);
        QList<QByteArray> jobs;
        for (int number = 1; number <= device.printer->jobCount(); ++number) jobs << device.savedJob(number);
        return jobs;
    }
    void settle() override { QThread::sleep(7); }

private:
    static CupsdHarness* cups() { return sharedCupsd(); }
    int jobId(const QString& name, int number) const { return cups()->jobIds(queue(name)).value(number - 1); }
    bool waitForState(const QString& name, int number, const QList<int>& states) const
    {
        return waitUntil([&] { return states.contains(cups()->jobState(jobId(name, number))); });
    }

    std::map<QString, std::unique_ptr<PrinterDevice>> m_printers;
    QMap<QString, QString> m_names;
};

}  // namespace

std::unique_ptr<SpoolerUnderTest> makeSpooler(SpoolerKind kind)
{
    if (kind == SpoolerKind::Fake) return std::make_unique<FakeUnderTest>();
    return std::make_unique<CupsUnderTest>();
}

const char* spoolerName(SpoolerKind kind)
{
    return kind == SpoolerKind::Fake ? "FakeSpooler" : "Cupsd";
}

}  // namespace test_support
