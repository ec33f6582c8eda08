#include "spooler_cups.h"

#include "no_cancel.h"

#include <cups/cups.h>

#include <algorithm>

namespace systemif {
namespace print {

namespace {

const int kConnectTimeoutMs = 5000;
const double kIoTimeoutSeconds = 5.0;

struct IppDeleter {
    void operator()(ipp_t* ipp) const { ippDelete(ipp); }
};
using IppPtr = std::unique_ptr<ipp_t, IppDeleter>;

class CupsConnection {
public:
    CupsConnection()
    {
        m_http = httpConnect2(cupsServer(), ippPort(), nullptr, AF_UNSPEC, cupsEncryption(), 1, kConnectTimeoutMs,
                              nullptr);
        // Without a callback, an exchange that hears nothing for this long fails instead of waiting on.
        if (m_http) httpSetTimeout(m_http, kIoTimeoutSeconds, nullptr, nullptr);
    }
    ~CupsConnection()
    {
        NoCancelScope noCancel;
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

// The job's IPP state, 0 when the scheduler could not say.
int jobState(const CupsConnection& connection, int jobId)
{
    ipp_t* request = newRequest(IPP_OP_GET_JOB_ATTRIBUTES, "job-uri", jobUri(jobId));
    ippAddString(request, IPP_TAG_OPERATION, IPP_TAG_KEYWORD, "requested-attributes", nullptr, "job-state");
    const IppPtr response = connection.exchange(request);
    if (!succeeded(response)) return 0;
    ipp_attribute_t* state = ippFindAttribute(response.get(), "job-state", IPP_TAG_ENUM);
    return state ? ippGetInteger(state, 0) : 0;
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
        NoCancelScope noCancel;
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

    SpoolerJobState state() override
    {
        NoCancelScope noCancel;
        switch (jobState(*m_connection, m_id)) {
        case IPP_JSTATE_PENDING:
        case IPP_JSTATE_HELD:
            return printerStopped(*m_connection, m_printer) ? SpoolerJobState::Stopped : SpoolerJobState::Pending;
        case IPP_JSTATE_PROCESSING:
            return SpoolerJobState::Processing;
        case IPP_JSTATE_STOPPED:
            return SpoolerJobState::Stopped;
        case IPP_JSTATE_CANCELED:
        case IPP_JSTATE_ABORTED:
            return SpoolerJobState::Failed;
        case IPP_JSTATE_COMPLETED:
            return SpoolerJobState::Completed;
        default:
            return SpoolerJobState::Unknown;
        }
    }

private:
    std::unique_ptr<CupsConnection> m_connection;
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
    NoCancelScope noCancel;
    queues.clear();
    CupsConnection connection;
    if (!connection) return false;
    static const char* const kAttributes[] = {"printer-name", "printer-make-and-model", "device-uri", "printer-state",
                                              "printer-is-accepting-jobs", "printer-type"};
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
    NoCancelScope noCancel;
    auto connection = std::make_unique<CupsConnection>();
    if (!*connection) return nullptr;
    const QByteArray name = printer.toUtf8();
    const QByteArray title = docName.toUtf8();
    const int id = cupsCreateJob(connection->http(), name.constData(), title.constData(), 0, nullptr);
    if (id <= 0) return nullptr;
    return std::make_unique<CupsJob>(std::move(connection), name, title, id);
}

SpoolerCancel CupsSpooler::cancel(const QString& printer, int jobId)
{
    NoCancelScope noCancel;
    CupsConnection connection;
    if (!connection) return SpoolerCancel::Failed;
    const ipp_status_t status = cupsCancelJob2(connection.http(), printer.toUtf8().constData(), jobId, 0);
    if (status <= IPP_STATUS_OK_CONFLICTING) return SpoolerCancel::Cancelled;
    // Refused: the job has ended already, one way or the other.
    switch (jobState(connection, jobId)) {
    case IPP_JSTATE_COMPLETED:
        return SpoolerCancel::AlreadyCompleted;
    case IPP_JSTATE_CANCELED:
    case IPP_JSTATE_ABORTED:
        return SpoolerCancel::Cancelled;
    default:
        return SpoolerCancel::Failed;
    }
}

}  // namespace print
}  // namespace systemif
