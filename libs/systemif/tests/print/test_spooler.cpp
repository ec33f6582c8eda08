// The spooler contract: raw jobs through PrintServics and the job slot that print workers and whoever gives
// their jobs up share, run on the in-memory spooler and on a private cupsd alike (SB_SPOOLER picks one).
#include "systemif/print.h"

#include "cups_printers.h"
#include "print_worker.h"
#include "qt_print.h"
#include "same_bytes.h"
#include "spoolers.h"

#include <gtest/gtest.h>

using namespace systemif::print;
using print_test::Told;
using print_test::Worker;
using test_support::SpoolerKind;

namespace {

class SpoolerContract : public test_support::SpoolerContractTest {
protected:
    void SetUp() override
    {
        SpoolerContractTest::SetUp();
        if (IsSkipped()) return;
        m_spooler->addQueue("Kitchen");
        m_kitchen = m_spooler->queue("Kitchen");
    }

    // Prints on this thread; the job is told once, done, under the id it returned.
    void expectPrinted(const QByteArray& bytes)
    {
        Told told;
        const int id = PrintServics::printBySystemPrinter(m_kitchen, "receipt", Document(bytes), told.callback());
        EXPECT_GT(id, 0);
        EXPECT_EQ(told.calls, 1);
        EXPECT_EQ(told.jobId, id);
        EXPECT_TRUE(told.done);
    }

    // Job `number` of the kitchen, its printer off, given up while it is processing.
    std::unique_ptr<Worker> givenUp(int number)
    {
        m_spooler->setPrinterOff("Kitchen", true);
        auto worker = std::make_unique<Worker>(m_kitchen, m_bytes);
        EXPECT_TRUE(m_spooler->waitProcessing("Kitchen", number));
        EXPECT_TRUE(worker->slot.claim());
        return worker;
    }

    QString m_kitchen;
    const QByteArray m_bytes{"\x1b@Table 5\n\x00", 12};
};

}  // namespace

TEST_P(SpoolerContract, RawJobArrivesByteExactAndIsToldDoneOnceWithItsId)
{
    QByteArray bytes;
    for (int i = 0; i < 4096; ++i) bytes.append(char(i % 256));  // every byte value, NUL included
    expectPrinted(bytes);
    const QList<QByteArray> printed = m_spooler->printed("Kitchen", 1);
    ASSERT_EQ(printed.size(), 1);
    EXPECT_BYTES(bytes, printed[0]);
}

// A stopped queue's job is cancelled rather than printed once the queue starts again; a rejecting queue, an
// unknown printer and an empty document get no job at all. Each is told not done, once.
TEST_P(SpoolerContract, JobThatCannotPrintNowIsToldNotDoneAndNeverPrintsLater)
{
    m_spooler->setStopped("Kitchen", true);
    Told held;
    EXPECT_GT(PrintServics::printBySystemPrinter(m_kitchen, "receipt", Document(m_bytes), held.callback()), 0);
    EXPECT_EQ(held.calls, 1);
    EXPECT_FALSE(held.done);
    EXPECT_TRUE(m_spooler->waitCancelled("Kitchen", 1));

    m_spooler->addQueue("Bar");
    m_spooler->setRejecting("Bar", true);
    const QByteArray empty;
    const std::pair<QString, QByteArray> refused[] = {
        {m_spooler->queue("Bar"), m_bytes}, {"Nowhere", m_bytes}, {m_kitchen, empty}};
    for (const auto& [printer, bytes] : refused) {
        Told told;
        EXPECT_EQ(PrintServics::printBySystemPrinter(printer, "receipt", Document(bytes), told.callback()), 0);
        EXPECT_EQ(told.calls, 1) << printer.toStdString();
        EXPECT_FALSE(told.done);
    }

    m_spooler->setStopped("Kitchen", false);
    expectPrinted("after restart");
    m_spooler->settle();
    EXPECT_EQ(m_spooler->printed("Kitchen", 1), QList<QByteArray>{"after restart"});
}

// The job is cancelled, told "unconfirmed" by whoever gave it up, as its bytes were on their way; its
// worker stops by itself without telling. It never prints, and the next job does.
TEST_P(SpoolerContract, JobGivenUpWhileProcessingIsCancelledAndToldUnconfirmedByWhoeverGaveItUp)
{
    const int descriptors = test_support::openDescriptors();
    auto worker = givenUp(1);
    EXPECT_EQ(worker->slot.settle().outcome, JobOutcome::Unconfirmed);
    EXPECT_FALSE(worker->slot.cancelPending());
    EXPECT_TRUE(m_spooler->waitCancelled("Kitchen", 1));
    ASSERT_TRUE(worker->wait(10000)) << "a given-up worker stops waiting by itself";
    EXPECT_EQ(worker->told.calls, 0) << "whoever gave the job up tells it, not its worker";
    worker.reset();
    EXPECT_LE(test_support::openDescriptors(), descriptors) << "the given-up worker's connection is closed";

    m_spooler->setPrinterOff("Kitchen", false);
    expectPrinted("next order");
    m_spooler->settle();
    EXPECT_EQ(m_spooler->printed("Kitchen", 1), QList<QByteArray>{"next order"});
}

// Cancelling waits a fraction of a second only: while the spooler does not answer the job is told
// "unconfirmed" with its cancel pending, and the next try cancels it.
TEST_P(SpoolerContract, CancelThatTheSpoolerDoesNotAnswerStaysPendingUntilItDoes)
{
    const auto worker = givenUp(1);
    m_spooler->setFrozen(true);
    EXPECT_EQ(worker->slot.settle().outcome, JobOutcome::Unconfirmed);
    EXPECT_TRUE(worker->slot.cancelPending());
    m_spooler->setFrozen(false);
    EXPECT_EQ(worker->slot.settle().outcome, JobOutcome::Unconfirmed);
    EXPECT_FALSE(worker->slot.cancelPending());
    EXPECT_TRUE(m_spooler->waitCancelled("Kitchen", 1));
    EXPECT_EQ(m_spooler->cancelsOf("Kitchen", 1), 1);
}

// A job given up after it printed, before its worker could tell: told printed.
TEST_P(SpoolerContract, JobGivenUpAfterItPrintedIsToldPrinted)
{
    if (GetParam() != SpoolerKind::Fake) GTEST_SKIP() << "only the fake spooler ends a job on demand";
    const auto worker = givenUp(1);
    ASSERT_TRUE(m_spooler->finishPrinted("Kitchen", 1));
    EXPECT_EQ(worker->slot.settle().outcome, JobOutcome::Printed);
}

TEST_P(SpoolerContract, JobGivenUpBeforeItReachedTheSpoolerFailsAndAToldJobCannotBeGivenUp)
{
    PrintJobSlot unsent;
    ASSERT_TRUE(unsent.claim());
    EXPECT_EQ(unsent.settle().outcome, JobOutcome::Failed);
    EXPECT_FALSE(unsent.claim()) << "given up once";

    Worker worker(m_kitchen, m_bytes);
    ASSERT_TRUE(worker.wait(20000));
    EXPECT_EQ(worker.told.calls, 1);
    EXPECT_TRUE(worker.told.done);
    EXPECT_FALSE(worker.slot.claim()) << "told already";
    EXPECT_EQ(worker.slot.report().outcome, JobOutcome::Printed);
}

TEST_P(SpoolerContract, JobWhoseQueueIsDeletedWhileItWaitsIsToldNotDone)
{
    m_spooler->setPrinterOff("Kitchen", true);
    Worker worker(m_kitchen, m_bytes);
    ASSERT_TRUE(m_spooler->waitProcessing("Kitchen", 1));
    m_spooler->removeQueue("Kitchen");
    ASSERT_TRUE(worker.wait(20000));
    EXPECT_EQ(worker.told.calls, 1);
    EXPECT_FALSE(worker.told.done);
}

INSTANTIATE_TEST_SUITE_P(On, SpoolerContract, ::testing::Values(SpoolerKind::SB_SPOOLER),
                         [](const auto& info) { return std::string(test_support::spoolerName(info.param)); });
