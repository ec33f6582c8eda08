#include "url_transporter/downloader.h"

#include <curl/curl.h>

#include <QByteArray>

#include <limits>
#include <memory>
#include <mutex>

namespace transporter {

namespace {

struct Body {
    QByteArray bytes;
    qint64 limit = 0;
    bool overLimit = false;
};

size_t appendBody(char* data, size_t size, size_t count, void* context)
{
    auto* body = static_cast<Body*>(context);
    const size_t length = size * count;
    if (body->bytes.size() + static_cast<qint64>(length) > body->limit) {
        body->overLimit = true;
        return 0;  // makes curl abort the transfer
    }
    body->bytes.append(data, static_cast<int>(length));
    return length;
}

void initialiseCurlOnce()
{
    static std::once_flag once;
    std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

struct EasyDeleter {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct ListDeleter {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

void setError(QString* error, const QString& text)
{
    if (error) *error = text;
}

}  // namespace

QString Downloader::downloadFileContent(const DownloaderReqInfo& request, QString* error)
{
    initialiseCurlOnce();
    std::unique_ptr<CURL, EasyDeleter> curl(curl_easy_init());
    if (!curl) {
        setError(error, QStringLiteral("cannot create a transfer"));
        return QString();
    }

    std::unique_ptr<curl_slist, ListDeleter> headers;
    for (const QString& header : request.headers) {
        curl_slist* extended = curl_slist_append(headers.get(), header.toUtf8().constData());
        if (!extended) {
            setError(error, QStringLiteral("out of memory"));
            return QString();
        }
        headers.release();
        headers.reset(extended);
    }

    Body body;
    body.limit = qMin<qint64>(request.maxBytes, std::numeric_limits<int>::max() / 2);  // QByteArray's reach
    char curlError[CURL_ERROR_SIZE] = {};
    const QByteArray url = request.url.toUtf8();
    const QByteArray proxy = request.proxyHost.toUtf8();
    CURL* h = curl.get();
    curl_easy_setopt(h, CURLOPT_URL, url.constData());
    curl_easy_setopt(h, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(h, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(h, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(h, CURLOPT_MAXREDIRS, 5L);
    curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);  // time-outs must not raise signals in a threaded client
    curl_easy_setopt(h, CURLOPT_TIMEOUT_MS, static_cast<long>(request.timeoutMs));
    curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(request.connectTimeoutMs));
    curl_easy_setopt(h, CURLOPT_PROXY, proxy.constData());  // "" turns off the environment's proxies
    if (!proxy.isEmpty()) curl_easy_setopt(h, CURLOPT_PROXYPORT, static_cast<long>(request.proxyPort));
    curl_easy_setopt(h, CURLOPT_HTTPHEADER, headers.get());
    curl_easy_setopt(h, CURLOPT_ACCEPT_ENCODING, "");  // whatever compression curl can undo
    curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, appendBody);
    curl_easy_setopt(h, CURLOPT_WRITEDATA, &body);
    curl_easy_setopt(h, CURLOPT_ERRORBUFFER, curlError);

    const CURLcode result = curl_easy_perform(h);
    if (body.overLimit) {
        setError(error, QStringLiteral("reply longer than %1 bytes").arg(request.maxBytes));
        return QString();
    }
    if (result != CURLE_OK) {
        setError(error, QString::fromUtf8(curlError[0] ? curlError : curl_easy_strerror(result)));
        return QString();
    }
    long status = 0;
    curl_easy_getinfo(h, CURLINFO_RESPONSE_CODE, &status);
    if (status < 200 || status > 299) {
        setError(error, QStringLiteral("HTTP status %1").arg(status));
        return QString();
    }
    setError(error, QString());
    return QString::fromUtf8(body.bytes);
}

}  // namespace transporter
