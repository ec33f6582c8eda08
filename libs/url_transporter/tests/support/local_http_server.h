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
    LocalHttpServer(const LocalHttpServer&) = delete;
    LocalHttpServer& operator=(const LocalHttpServer&) = delete;

    void respond(const QByteArray& path, int status, const QByteArray& body);
    void hang(const QByteArray& path);

    bool listening() const { return m_listenFd >= 0; }
    int port() const { return m_port; }
    QString url(const QString& path) const;
    // The request heads received so far, in order.
    QList<QByteArray> requests() const;

    // A port on 127.0.0.1 that nothing listens on (it was free a moment ago).
    static int closedPort();

private:
    struct Reply {
        int status = 404;
        QByteArray body;
        bool hang = false;
    };
    void serve();
    void answer(int fd);

    int m_listenFd = -1;
    int m_port = 0;
    std::atomic<bool> m_stop{false};
    mutable std::mutex m_mutex;  // guards m_replies and m_requests
    QMap<QByteArray, Reply> m_replies;
    QList<QByteArray> m_requests;
    std::vector<int> m_hungFds;  // only the server thread touches these until it has ended
    std::thread m_thread;
};
