#include "spooler_cups_p.h"

#include <cups/cups.h>

#include <algorithm>

namespace systemif {
namespace print {

namespace {

const int kConnectTimeoutMs = 5000;
const double kIoTimeoutSeconds = 5.0;
// A cancel is asked for by whoever gives a job up, who must tell its caller within about a second: a
// scheduler that has not answered by then is asked again later.
const int kCancelTimeoutMs = 500;

struct IppDeleter {
    void operator()(ipp_t* ipp) const { ippDelete(ipp); }
};
using IppPtr = std::unique_ptr<ipp_t, IppDeleter>;

class CupsConnection {
public:
    explicit CupsConnection(int timeoutMs = kConnectTimeoutMs)
    {
        m_http = httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, timeoutMs, nullptr);
        // Without a callback, an exchange that hears nothing for this long fails instead of waiting on.
        if (m_http) httpSetTimeout(m_http, std::min(kIoTimeoutSeconds, timeoutMs / 1000.0), nullptr, nullptr);
    }
    ~CupsConnection()
    {
        if (m_http) httpClose(m_http);
    }
    CupsConnection(const CupsConnection&) = delete;
    CupsConnection& operator=(const CupsConnection&) = delete;

    http_t* http() const { return m_http; }
    explicit operator bool() const { return m_http != nullptr; }

    // Sends the request (which it consumes) and returns the response; null when the exchange failed.
    IppPtr exchange(ipp_t* request) const { return IppPtr(cupsDoRequest(m_http, request, "/")); }

private:
    http_t* m_http = nullptr;
};

bool succeeded(const IppPtr& response)
{
    return response && ippGetStatusCode(response.get()) <= IPP_STATUS_OK_CONFLICTING;
}

ipp_t* newRequest(ipp_op_t operation, const char* uriName, const QByteArray& uri)
{
    ipp_t* request = ippNewRequest(operation);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_URI, uriName, nullptr, uri.constData());
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
    return request;
}

QByteArray jobUri(int jobId)
{
    char uri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", 0, "/jobs/%d", jobId);
    return uri;
}

QByteArray printerUri(const QByteArray& printer)
{
    char uri[HTTP_MAX_URI];
    httpAssembleURIf(HTTP_URI_CODING_ALL, uri, sizeof uri, "ipp", nullptr, "localhost", 0, "/printers/%s",
                     printer.constData());
    return uri;
}

struct JobStatus {
    int state = 0;         // the IPP job-state, 0 when the scheduler could not say
    bool began = false;    // it has been processing: its backend ran and may have sent bytes
    QString message;       // the backend's last message
};

JobStatus jobStatus(const CupsConnection& connection, int jobId)
{
    static const char* const kAttributes[] = {"job-state", "time-at-processing", "job-printer-state-message"};
    ipp_t* request = newRequest(IPP_OP_GET_JOB_ATTRIBUTES, "job-uri", jobUri(jobId));
    ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", 3, nullptr, kAttributes);
    const IppPtr response = connection.exchange(request);
    JobStatus status;
    if (!succeeded(response)) return status;
    ipp_attribute_t* state = ippFindAttribute(response.get(), "job-state", IPP_TAG_ENUM);
    status.state = state ? ippGetInteger(state, 0) : 0;
    // No value until the job begins processing.
    ipp_attribute_t* began = ippFindAttribute(response.get(), "time-at-processing", IPP_TAG_INTEGER);
    status.began = began && ippGetInteger(began, 0) > 0;
    if (ipp_attribute_t* message = ippFindAttribute(response.get(), "job-printer-state-message", IPP_TAG_TEXT))
        status.message = QString::fromUtf8(ippGetString(message, 0, nullptr)).trimmed();
    return status;
}

// What a cancel left of a job that has ended: 0 when the scheduler could not say.
SpoolerCancel endedAs(const JobStatus& status)
{
    if (status.state == IPP_JSTATE_COMPLETED) return SpoolerCancel::AlreadyCompleted;
    if (status.state == IPP_JSTATE_CANCELED || status.state == IPP_JSTATE_ABORTED)
        return status.began ? SpoolerCancel::CancelledWhilePrinting : SpoolerCancel::Cancelled;
    return SpoolerCancel::Failed;
}

// Whether the printer is stopped; false also when the scheduler could not say (the job's own state then
// decides).
bool printerStopped(const CupsConnection& connection, const QByteArray& printer)
{
    ipp_t* request = newRequest(IPP_OP_GET_PRINTER_ATTRIBUTES, "printer-uri", printerUri(printer));
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, "printer-state");
    const IppPtr response = connection.exchange(request);
    if (!succeeded(response)) return false;
    ipp_attribute_t* state = ippFindAttribute(response.get(), "printer-state", IPP_TAG_ENUM);
    return state && ippGetInteger(state, 0) == IPP_PSTATE_STOPPED;
}

class CupsJob : public SpoolerJob {
public:
    CupsJob(std::unique_ptr<CupsConnection> connection, const QByteArray& printer, const QByteArray& docName,
            int id)
        : m_connection(std::move(connection)), m_printer(printer), m_docName(docName), m_id(id)
    {
    }

    int id() const override { return m_id; }

    bool send(const Document& doc) override
    {
        http_t* http = m_connection->http();
        if (cupsStartDocument(http, m_printer.constData(), m_id, m_docName.constData(), CUPS_FORMAT_RAW, 1) !=
            HTTP_STATUS_CONTINUE)
            return false;
        if (cupsWriteRequestData(http, doc.data(), static_cast<size_t>(doc.size())) != HTTP_STATUS_CONTINUE) {
            // The document is incomplete; end the request so that the scheduler does not wait for the rest.
            cupsFinishDocument(http, m_printer.constData());
            return false;
        }
        return cupsFinishDocument(http, m_printer.constData()) <= IPP_STATUS_OK_CONFLICTING;
    }

    bool release() override
    {
        return succeeded(m_connection->exchange(newRequest(IPP_OP_RELEASE_JOB, "job-uri", jobUri(m_id))));
    }

    SpoolerJobState state() override
    {
        const JobStatus status = jobStatus(*m_connection, m_id);
        m_message = status.message;
        switch (status.state) {
        case IPP_JSTATE_PENDING:
        case IPP_JSTATE_HELD:
            return printerStopped(*m_connection, m_printer) ? SpoolerJobState::Stopped : SpoolerJobState::Pending;
        case IPP_JSTATE_PROCESSING:
            return SpoolerJobState::Processing;
        case IPP_JSTATE_STOPPED:
            return SpoolerJobState::Stopped;
        case IPP_JSTATE_CANCELED:
        case IPP_JSTATE_ABORTED:
            return status.began ? SpoolerJobState::Interrupted : SpoolerJobState::Failed;
        case IPP_JSTATE_COMPLETED:
            return SpoolerJobState::Completed;
        default:
            return SpoolerJobState::Unknown;
        }
    }

    QString message() const override { return m_message; }

private:
    std::unique_ptr<CupsConnection> m_connection;
    QString m_message;
    QByteArray m_printer;
    QByteArray m_docName;
    int m_id;
};

QString stringOf(ipp_attribute_t* attribute)
{
    const char* text = ippGetString(attribute, 0, nullptr);
    return text ? QString::fromUtf8(text) : QString();
}

}  // namespace

bool CupsSpooler::queues(QList<SpoolerQueue>& queues)
{
    queues.clear();
    CupsConnection connection;
    if (!connection) return false;
    static const char* const kAttributes[] = {"printer-name",          "printer-make-and-model",
                                              "device-uri",            "printer-state",
                                              "printer-is-accepting-jobs", "printer-type",
                                              "printer-state-reasons", "printer-state-message"};
    ipp_t* request = ippNewRequest(IPP_OP_CUPS_GET_PRINTERS);
    ippAddStrings(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes",
                  static_cast<int>(sizeof kAttributes / sizeof kAttributes[0]), nullptr, kAttributes);
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_NAME, "requesting-user-name", nullptr, cupsUser());
    const IppPtr response = connection.exchange(request);
    if (!response) return false;
    if (ippGetStatusCode(response.get()) == IPP_STATUS_ERROR_NOT_FOUND) return true;  // no printers at all
    if (!succeeded(response)) return false;

    // The printers come one after another, each a group of attributes ended by a separator.
    SpoolerQueue queue;
    bool isClass = false;
    auto endPrinter = [&] {
        if (!queue.name.isEmpty() && !isClass) queues << queue;
        queue = SpoolerQueue();
        isClass = false;
    };
    for (ipp_attribute_t* attribute = ippFirstAttribute(response.get()); attribute;
         attribute = ippNextAttribute(response.get())) {
        const char* name = ippGetName(attribute);
        if (!name) {
            endPrinter();
            continue;
        }
        const QByteArray key(name);
        if (key == "printer-name")
            queue.name = stringOf(attribute);
        else if (key == "printer-make-and-model")
            queue.makeAndModel = stringOf(attribute);
        else if (key == "device-uri")
            queue.deviceUri = stringOf(attribute);
        else if (key == "printer-state")
            queue.stopped = ippGetInteger(attribute, 0) == IPP_PSTATE_STOPPED;
        else if (key == "printer-is-accepting-jobs")
            queue.acceptingJobs = ippGetBoolean(attribute, 0) != 0;
        else if (key == "printer-state-reasons") {
            for (int i = 0; i < ippGetCount(attribute); ++i) {
                const QString reason = QString::fromUtf8(ippGetString(attribute, i, nullptr));
                if (reason != QLatin1String("none")) queue.stateReasons << reason;
            }
        } else if (key == "printer-state-message")
            queue.stateMessage = stringOf(attribute).trimmed();
        else if (key == "printer-type")
            isClass = (ippGetInteger(attribute, 0) & CUPS_PRINTER_CLASS) != 0;  // a class is no device of its own
    }
    endPrinter();
    std::stable_sort(queues.begin(), queues.end(), [](const SpoolerQueue& a, const SpoolerQueue& b) {
        return a.name.compare(b.name, Qt::CaseInsensitive) < 0;
    });
    return true;
}

std::unique_ptr<SpoolerJob> CupsSpooler::createJob(const QString& printer, const QString& docName)
{
    auto connection = std::make_unique<CupsConnection>();
    if (!*connection) return nullptr;
    const QByteArray name = printer.toUtf8();
    const QByteArray title = docName.toUtf8();
    // Held until release(): a job whose document never arrives in full can never print.
    cups_option_t hold = {const_cast<char*>("job-hold-until"), const_cast<char*>("indefinite")};
    const int id = cupsCreateJob(connection->http(), name.constData(), title.constData(), 1, &hold);
    if (id <= 0) return nullptr;
    return std::make_unique<CupsJob>(std::move(connection), name, title, id);
}

SpoolerCancel CupsSpooler::cancel(const QString& printer, int jobId)
{
    CupsConnection connection(kCancelTimeoutMs);
    if (!connection) return SpoolerCancel::Failed;
    const ipp_status_t status = cupsCancelJob2(connection.http(), printer.toUtf8().constData(), jobId, 0);
    if (status > IPP_STATUS_OK_CONFLICTING && status != IPP_STATUS_ERROR_NOT_POSSIBLE)
        return SpoolerCancel::Failed;  // unanswered, or refused for a reason other than the job having ended
    // Cancelled now or refused because it had ended: how it ended says what may have reached the printer.
    return endedAs(jobStatus(connection, jobId));
}

}  // namespace print
}  // namespace systemif
