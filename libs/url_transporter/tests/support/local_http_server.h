#pragma once
// A tiny HTTP/1.1 server on 127.0.0.1 for tests: one thread, one connection at a time, a canned reply per
// path (404 for any other path). A path set to hang is accepted and never answered, to test time-outs.

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

class LocalHttpServer {
public:
    LocalHttpServer();  // listening on a free port when it returns; check listening()
    ~LocalHttpServer();

    void respond(const QByteArray& path, int status, const QByteArray& body);
    void hang(const QByteArray& path) { respond(path, 0, QByteArray()); }
    bool listening() const { return m_listenFd >= 0; }
    QString url(const QString& path) const { return QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path); }
    // The request heads received so far, in order.
    QList<QByteArray> requests() const;
    // A port on 127.0.0.1 that nothing listens on (it was free a moment ago).
    static int closedPort();

private:
    void answer(int fd);

    int m_listenFd = -1;
    int m_port = 0;
    std::atomic<bool> m_stop{false};
    mutable std::mutex m_mutex;                     // guards m_replies and m_requests
    QMap<QByteArray, QPair<int, QByteArray>> m_replies;  // path: status (0 to hang) and body
    QList<QByteArray> m_requests;
    std::vector<int> m_hungFds;  // only the server thread touches these until it has ended
    std::thread m_thread;
};
