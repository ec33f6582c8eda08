#pragma once
// One HTTP(S) download request: a plain record, part of the service library's interface (the settings
// sync takes one).

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

}  // namespace transporter
