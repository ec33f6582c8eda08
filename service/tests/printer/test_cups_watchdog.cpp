// The watchdog with its real timing against a real cupsd: a job that its printer never takes is killed
// after ten seconds, its caller hears false, the job is cancelled at the scheduler so that it never prints
// later, and the next job of the same printer id prints.
#include "cups_test_support.h"

#include "service_business/print_manager.h"
#include "service_business/printer.h"


#include <gtest/gtest.h>

#include <QElapsedTimer>

#include <atomic>
#include <string>
#include <thread>

using namespace std::chrono_literals;
using namespace utility_business;
using namespace printer_test;
using service_business::PrintManager;
using service_business::Printer;

namespace {

// How the printer fails the killed job.
enum class Fault {
    Refuse,  // switched off: connections are refused, and the scheduler keeps retrying
    Hang,    // jammed: the connection is taken and never read; the job is larger than the socket buffers
};

class CupsWatchdog : public CupsDispatchTest, public ::testing::WithParamInterface<Fault> {};

QByteArray order(int number)
{
    return QByteArray("\x1b@Order ") + QByteArray::number(number) + "\n\x1dVB" + QByteArray(1, '\0');
}

}  // namespace

TEST_P(CupsWatchdog, JobThatNeverPrintsIsToldFalseAfterTenSecondsAndTheNextJobPrints)
{
    const bool refuse = GetParam() == Fault::Refuse;
    Device* kitchen = addPrinter("Kitchen");
    // A jammed printer gives the next job no chance: it goes to a second queue behind the same printer id.
    Device* next = refuse ? kitchen : addPrinter("Kitchen2");
    const PrinterInfo printer = spoolerRecord(40, "Kitchen");
    PrinterInfo nextPrinter = spoolerRecord(40, refuse ? "Kitchen" : "Kitchen2");
    ASSERT_TRUE(printer.connected);

    // The worker of printer 40 exists and has printed once before descriptors are counted.
    PrintManager::printOrder(printer, order(1), m_outcomes.callback(1));
    ASSERT_TRUE(m_outcomes.waitFor(1));
    ASSERT_TRUE(kitchen->printer->waitForJobs(1, 20s));
    // The virtual printers share the descriptor table: let them close the job's connection first.
    std::this_thread::sleep_for(1s);
    const int descriptors = openDescriptors();

    if (refuse)
        ASSERT_TRUE(kitchen->printer->setRefuse(true));
    else
        kitchen->printer->setHang(true);
    const QByteArray stuck = refuse ? order(2) : QByteArray(32 * 1024 * 1024, 'x');
    std::atomic<qint64> toldAfterMs{-1};
    QElapsedTimer sinceQueued;
    PrintManager::printOrder(printer, stuck, [&](bool ok) {
        toldAfterMs = sinceQueued.elapsed();
        // The printer is back: whatever of the killed job might still come would arrive now.
        if (refuse)
            kitchen->printer->setRefuse(false);
        else
            kitchen->printer->setHang(false);
        m_outcomes.callback(2)(ok);
    });
    sinceQueued.start();
    PrintManager::printOrder(nextPrinter, order(3), m_outcomes.callback(3));

    ASSERT_TRUE(m_outcomes.waitFor(2, 20s));
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{false});
    // Killed at the first look of the watchdog (once a second) after ten seconds.
    RecordProperty("toldFalseAfterMs", std::to_string(toldAfterMs));
    EXPECT_GE(toldAfterMs, 10000 - 50);
    EXPECT_LE(toldAfterMs, 12000);
    ASSERT_TRUE(m_outcomes.waitFor(3, 20s));
    EXPECT_EQ(m_outcomes.results(3), QList<bool>{true});

    // Longer than the scheduler waits between two tries to reach a printer.
    std::this_thread::sleep_for(7s);
    if (refuse) {
        EXPECT_EQ(kitchen->printer->jobCount(), 2);
        EXPECT_TRUE(sameBytes(Printer::buildDocument(order(3)).bytes(), kitchen->savedJob(2)));
    } else {
        // What had reached the jammed printer's buffer prints once it resumes, never the whole job: the job
        // was told "not confirmed" for that reason.
        EXPECT_TRUE(m_log.containsText("sent to the printer but not confirmed: given up after 10 s"));
        ASSERT_LE(kitchen->printer->jobCount(), 2);
        if (kitchen->printer->jobCount() == 2) {
            EXPECT_LT(kitchen->savedJob(2).size(), stuck.size());
        }
        ASSERT_EQ(next->printer->jobCount(), 1);
        EXPECT_TRUE(sameBytes(Printer::buildDocument(order(3)).bytes(), next->savedJob(1)));
    }
    EXPECT_EQ(openDescriptors(), descriptors) << "the given-up worker's connection and files are closed";
    EXPECT_EQ(m_outcomes.total(), 3);
}

INSTANTIATE_TEST_SUITE_P(Printer, CupsWatchdog, ::testing::Values(Fault::Refuse, Fault::Hang),
                         [](const ::testing::TestParamInfo<Fault>& info) {
                             return info.param == Fault::Refuse ? "Refusing" : "Hanging";
                         });

// cupsd stops answering while a job waits for a printer that refuses it: queuing another job still
// returns at once, the job is told false within twelve seconds, and once cupsd answers again it is
// cancelled before it can print.
TEST_F(CupsDispatchTest, JobGivenUpWhileCupsdIsFrozenIsToldInTimeAndNeverPrintsAfterwards)
{
    Device* kitchen = addPrinter("Kitchen");
    const PrinterInfo printer = spoolerRecord(41, "Kitchen");
    const PrinterInfo other = spoolerRecord(42, "Kitchen");
    ASSERT_TRUE(kitchen->printer->setRefuse(true));
    std::atomic<qint64> toldAfterMs{-1};
    QElapsedTimer sinceQueued;
    sinceQueued.start();
    PrintManager::printOrder(printer, order(1), [&](bool ok) {
        toldAfterMs = sinceQueued.elapsed();
        m_outcomes.callback(1)(ok);
    });
    ASSERT_TRUE(waitForJobState(1, 5 /* processing */));
    ASSERT_TRUE(s_cups->freeze());
    QElapsedTimer call;
    call.start();
    PrintManager::printOrder(other, order(2), m_outcomes.callback(2));
    const qint64 callMs = call.elapsed();

    ASSERT_TRUE(m_outcomes.waitFor(1, 20s));
    EXPECT_LT(callMs, 50) << "queuing never waits for the scheduler";
    EXPECT_EQ(m_outcomes.results(1), QList<bool>{false});
    EXPECT_LE(toldAfterMs, 12000);
    EXPECT_TRUE(m_log.containsText("sent to the printer but not confirmed: given up after 10 s: the spooler does "
                                   "not answer"));
    ASSERT_TRUE(s_cups->thaw());
    ASSERT_TRUE(waitForJobState(1, 7 /* canceled */)) << "cancelled once cupsd answers again";
    // Job 2 could not be handed over while cupsd was frozen: it failed, and whatever cupsd made of it holds.
    ASSERT_TRUE(m_outcomes.waitFor(2, 30s));
    EXPECT_EQ(m_outcomes.results(2), QList<bool>{false});
    std::string error;
    ASSERT_TRUE(kitchen->printer->setRefuse(false, &error)) << error;
    PrintManager::printOrder(other, order(3), m_outcomes.callback(3));
    ASSERT_TRUE(m_outcomes.waitFor(3, 30s));
    std::this_thread::sleep_for(2s);
    ASSERT_EQ(kitchen->printer->jobCount(), 1) << "only job 3 printed";
    EXPECT_TRUE(sameBytes(Printer::buildDocument(order(3)).bytes(), kitchen->savedJob(1)));
}
