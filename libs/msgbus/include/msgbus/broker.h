#pragma once
// The broker the client's processes meet at. It takes messages that Senders hand over on its receiving port
// (utility_business::Config::serverSendPort) and publishes them to subscribers on its serving port
// (Config::serverRecvPort), in the order it took them, and acknowledges each message once published.
//
// A subscriber that falls behind costs only itself: once its backlog in the broker is full (kSubscriberBacklog
// messages by default), it misses the messages that follow until it catches up, and the broker counts them
// (droppedMessages). Publishing never waits for it, so every other subscriber gets every message a Sender
// was told was taken.

#include <zmq.hpp>

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>

namespace MsgBusNameSpace {

class Broker {
public:
    static constexpr int kSubscriberBacklog = 50000;

    Broker() = default;
    ~Broker();
    Broker(const Broker&) = delete;
    Broker& operator=(const Broker&) = delete;

    // Binds tcp://host:sendPort for Senders and tcp://host:recvPort for subscribers (0 picks a free port)
    // and starts forwarding on a thread of its own. False, with errorString() saying why, when the broker
    // already runs or a port cannot be bound; nothing is left bound then.
    bool start(const std::string& host, int sendPort, int recvPort);
    // Stops forwarding and releases both ports; messages not yet published are dropped.
    void stop();
    // How many messages may wait in the broker for one subscriber before it misses some; applies from the
    // next start(). Memory against patience: the default suits notifications of a few hundred bytes.
    void setSubscriberBacklog(int messages) { m_subscriberBacklog = messages; }
    // How many messages subscribers missed because their backlog was full, since the last start().
    std::uint64_t droppedMessages() const { return m_dropped ? m_dropped->load() : 0; }

    // Tests: while held, the broker takes no hand-over (as one that is too busy to), so that what a Sender does
    // meanwhile can be seen.
    void holdHandOversForTesting(bool hold) { m_held->store(hold); }

    bool isRunning() const { return m_thread.joinable(); }
    int sendPort() const { return m_sendPort; }  // the bound port while running
    int recvPort() const { return m_recvPort; }
    const std::string& errorString() const { return m_error; }

private:
    std::unique_ptr<zmq::context_t> m_context;
    std::thread m_thread;
    std::shared_ptr<std::atomic<std::uint64_t>> m_dropped;  // shared with the forwarding thread
    std::shared_ptr<std::atomic<bool>> m_held = std::make_shared<std::atomic<bool>>(false);  // the same
    int m_subscriberBacklog = kSubscriberBacklog;
    int m_sendPort = 0;
    int m_recvPort = 0;
    std::string m_error;
};

// Runs a broker on host and ports until the process gets SIGINT or SIGTERM. Prints where it listens on
// standard output; 0 after a clean stop, 1 (with one line on standard error) when it cannot start.
// Call it before the process starts other threads: it blocks both signals to wait for them.
int serveBroker(const std::string& host, int sendPort, int recvPort);

}  // namespace MsgBusNameSpace
