#pragma once
// HTTP(S) download of a whole reply body into memory.

#include <QString>
#include <QStringList>

namespace transporter {

// One request. Only the URL is required; the rest has defaults fit for settings and resource files.
struct DownloaderReqInfo {
    explicit DownloaderReqInfo(const QString& url) : url(url) {}

    QString url;
    int timeoutMs = 30000;            // the whole transfer
    int connectTimeoutMs = 10000;     // reaching the server
    QStringList headers;              // extra request headers, each "Name: value"
    QString proxyHost;                // empty: no proxy, whatever the environment says
    int proxyPort = 0;
    qint64 maxBytes = 32 * 1024 * 1024;  // a longer reply is a failure, not an unbounded allocation
};

class Downloader {
public:
    // The body of the reply, decoded as UTF-8. Empty on any failure: an unreachable server, a time-out, an
    // HTTP status outside 200-299, a body over maxBytes. `error` (when given) is set to the reason.
    static QString downloadFileContent(const DownloaderReqInfo& request, QString* error = nullptr);
};

}  // namespace transporter
