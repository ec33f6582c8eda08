#include "systemif/print_fake.h"

#include <algorithm>
#include <condition_variable>

namespace systemif {
namespace print {

struct FakeSpooler::State {
    std::mutex mutex;  // guards every member below
    std::condition_variable thawed;
    bool frozen = false;
    QList<SpoolerQueue> queues;  // in name order
    QMap<QString, JobOutcome> outcomes;
    QList<Job> jobs;
    QMap<int, JobOutcome> jobOutcomes;
    bool reachable = true;
    int nextId = 1;

    SpoolerQueue* queue(const QString& name)
    {
        for (SpoolerQueue& queue : queues)
            if (queue.name.compare(name, Qt::CaseInsensitive) == 0) return &queue;
        return nullptr;
    }
    // Ids are handed out from 1 in the order jobs are appended.
    Job* job(int id) { return id >= 1 && id <= jobs.size() ? &jobs[id - 1] : nullptr; }
};

namespace {
bool hasEnded(SpoolerJobState state)
{
    return state == SpoolerJobState::Completed || state == SpoolerJobState::Failed ||
           state == SpoolerJobState::Interrupted;
}

// A frozen spooler answers nothing: a call waits as long as the real one would, then fails.
const std::chrono::milliseconds kRequestTimeout(1000);
const std::chrono::milliseconds kCancelTimeout(500);

// Locks the state, waiting while the spooler is frozen; false when it stayed frozen past the timeout.
bool answers(std::unique_lock<std::mutex>& lock, std::condition_variable& thawed, const bool& frozen,
             std::chrono::milliseconds timeout)
{
    return thawed.wait_for(lock, timeout, [&] { return !frozen; });
}
}  // namespace

class FakeSpooler::FakeJob : public SpoolerJob {
public:
    FakeJob(std::shared_ptr<State> state, int id) : m_state(std::move(state)), m_id(id) {}

    int id() const override { return m_id; }

    bool send(const Document& doc) override
    {
        std::unique_lock<std::mutex> lock(m_state->mutex);
        Job* job = answers(lock, m_state->thawed, m_state->frozen, kRequestTimeout) ? m_state->job(m_id) : nullptr;
        if (!m_state->reachable || !job) return false;
        job->bytes = doc.bytes();
        return true;
    }

    bool release() override
    {
        std::unique_lock<std::mutex> lock(m_state->mutex);
        Job* job = answers(lock, m_state->thawed, m_state->frozen, kRequestTimeout) ? m_state->job(m_id) : nullptr;
        if (!m_state->reachable || !job) return false;
        job->released = true;
        return true;
    }

    SpoolerJobState state() override
    {
        std::unique_lock<std::mutex> lock(m_state->mutex);
        Job* job = answers(lock, m_state->thawed, m_state->frozen, kRequestTimeout) ? m_state->job(m_id) : nullptr;
        if (!m_state->reachable || !job) return SpoolerJobState::Unknown;
        if (hasEnded(job->state) || !job->released) return job->state;
        const SpoolerQueue* queue = m_state->queue(job->printer);
        if (!queue) return job->state = SpoolerJobState::Failed;  // its printer was deleted
        if (queue->stopped) return SpoolerJobState::Stopped;
        switch (m_state->jobOutcomes.value(m_id)) {
        case JobOutcome::Complete:
            return job->state = SpoolerJobState::Completed;
        case JobOutcome::Fail:
            return job->state = SpoolerJobState::Failed;
        case JobOutcome::Hang:
        case JobOutcome::Refuse:
            break;
        }
        job->began = true;
        return job->state = SpoolerJobState::Processing;
    }

private:
    std::shared_ptr<State> m_state;
    int m_id;
};

FakeSpooler::FakeSpooler() : m_state(std::make_shared<State>()) {}

FakeSpooler::~FakeSpooler() = default;

void FakeSpooler::addQueue(const QString& name, const QString& makeAndModel, const QString& deviceUri)
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    SpoolerQueue queue;
    queue.name = name;
    queue.makeAndModel = makeAndModel;
    queue.deviceUri = deviceUri;
    if (SpoolerQueue* existing = m_state->queue(name)) {
        *existing = queue;
        return;
    }
    m_state->queues << queue;
    std::stable_sort(m_state->queues.begin(), m_state->queues.end(), [](const SpoolerQueue& a, const SpoolerQueue& b) {
        return a.name.compare(b.name, Qt::CaseInsensitive) < 0;
    });
}

void FakeSpooler::removeQueue(const QString& name)
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->queues.erase(std::remove_if(m_state->queues.begin(), m_state->queues.end(),
                                         [&](const SpoolerQueue& queue) {
                                             return queue.name.compare(name, Qt::CaseInsensitive) == 0;
                                         }),
                          m_state->queues.end());
}

void FakeSpooler::setStopped(const QString& name, bool stopped)
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    if (SpoolerQueue* queue = m_state->queue(name)) queue->stopped = stopped;
}

void FakeSpooler::setAcceptingJobs(const QString& name, bool accepting)
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    if (SpoolerQueue* queue = m_state->queue(name)) queue->acceptingJobs = accepting;
}

void FakeSpooler::setStateReasons(const QString& name, const QStringList& reasons, const QString& message)
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    if (SpoolerQueue* queue = m_state->queue(name)) {
        queue->stateReasons = reasons;
        queue->stateMessage = message;
    }
}

void FakeSpooler::setFrozen(bool frozen)
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->frozen = frozen;
    m_state->thawed.notify_all();
}

void FakeSpooler::setReachable(bool reachable)
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->reachable = reachable;
}

void FakeSpooler::setJobOutcome(const QString& printer, JobOutcome outcome)
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    m_state->outcomes[printer.toLower()] = outcome;
}

void FakeSpooler::finishJob(int jobId, bool printed)
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    Job* job = m_state->job(jobId);
    if (job && job->released && !hasEnded(job->state))
        job->state = printed ? SpoolerJobState::Completed
                             : job->began ? SpoolerJobState::Interrupted : SpoolerJobState::Failed;
}

QList<FakeSpooler::Job> FakeSpooler::jobs() const
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    return m_state->jobs;
}

QList<QByteArray> FakeSpooler::printed(const QString& printer) const
{
    std::lock_guard<std::mutex> lock(m_state->mutex);
    QList<QByteArray> documents;
    for (const Job& job : m_state->jobs)
        if (job.state == SpoolerJobState::Completed && job.printer.compare(printer, Qt::CaseInsensitive) == 0)
            documents << job.bytes;
    return documents;
}

bool FakeSpooler::queues(QList<SpoolerQueue>& queues)
{
    std::unique_lock<std::mutex> lock(m_state->mutex);
    const bool answered = answers(lock, m_state->thawed, m_state->frozen, kRequestTimeout) && m_state->reachable;
    queues = answered ? m_state->queues : QList<SpoolerQueue>();
    return answered;
}

std::unique_ptr<SpoolerJob> FakeSpooler::createJob(const QString& printer, const QString& docName)
{
    std::unique_lock<std::mutex> lock(m_state->mutex);
    if (!answers(lock, m_state->thawed, m_state->frozen, kRequestTimeout)) return nullptr;
    const SpoolerQueue* queue = m_state->queue(printer);
    const JobOutcome outcome = m_state->outcomes.value(printer.toLower(), JobOutcome::Complete);
    if (!m_state->reachable || !queue || !queue->acceptingJobs || outcome == JobOutcome::Refuse) return nullptr;
    Job job;
    job.id = m_state->nextId++;
    job.printer = queue->name;
    job.docName = docName;
    m_state->jobs << job;
    m_state->jobOutcomes[job.id] = outcome;
    return std::make_unique<FakeJob>(m_state, job.id);
}

SpoolerCancel FakeSpooler::cancel(const QString& /*printer*/, int jobId)
{
    std::unique_lock<std::mutex> lock(m_state->mutex);
    Job* job = answers(lock, m_state->thawed, m_state->frozen, kCancelTimeout) ? m_state->job(jobId) : nullptr;
    if (!m_state->reachable || !job) return SpoolerCancel::Failed;
    if (job->state == SpoolerJobState::Completed) return SpoolerCancel::AlreadyCompleted;
    if (!hasEnded(job->state)) job->state = job->began ? SpoolerJobState::Interrupted : SpoolerJobState::Failed;
    ++job->cancels;
    return job->began ? SpoolerCancel::CancelledWhilePrinting : SpoolerCancel::Cancelled;
}

}  // namespace print
}  // namespace systemif
