#include "msgbus/broker.h"

#include "wire_p.h"

#include <zmq_addon.hpp>

#include <atomic>
#include <iterator>
#include <map>
#include <set>
#include <vector>

namespace MsgBusNameSpace {

namespace {

using Message = std::vector<zmq::message_t>;

// Larger frames are refused at the door: a peer that sends one is disconnected.
constexpr std::int64_t kMaxFrameSize = 16 * 1024 * 1024;

// A listener as the broker knows it: the topics it subscribed to, keyed by its connection's identity.
using Listeners = std::map<std::string, std::set<std::string>>;

class Forwarder {
public:
    Forwarder(zmq::socket_t intake, zmq::socket_t publish, std::shared_ptr<std::atomic<std::uint64_t>> dropped,
              std::shared_ptr<std::atomic<bool>> held)
        : m_intake(std::move(intake)), m_publish(std::move(publish)), m_dropped(std::move(dropped)), m_held(std::move(held))
    {
    }

    // Forwards until the context is shut down.
    void run()
    {
        for (;;) {
            try {
                step();
            } catch (const zmq::error_t& error) {
                if (error.num() != EINTR) return;
            }
        }
    }

private:
    void step()
    {
        zmq::pollitem_t items[] = {{m_publish.handle(), 0, ZMQ_POLLIN, 0}, {m_intake.handle(), 0, ZMQ_POLLIN, 0}};
        const bool held = m_held->load();
        zmq::poll(items, held ? 1 : 2, std::chrono::milliseconds(held ? 10 : -1));
        if (items[0].revents & ZMQ_POLLIN) takeSubscriptions();
        if ((items[1].revents & ZMQ_POLLIN) && !m_held->load()) takeHandOver();
    }

    // [identity, request]: a request is the byte 1 and a topic to subscribe, or 0 and a topic to leave.
    void takeSubscriptions()
    {
        Message parts;
        while (zmq::recv_multipart(m_publish, std::back_inserter(parts), zmq::recv_flags::dontwait)) {
            if (parts.size() == 2 && parts[1].size() >= 1) {
                const std::string identity = parts[0].to_string();
                const auto* data = static_cast<const char*>(parts[1].data());
                const std::string topic(data + 1, parts[1].size() - 1);
                if (data[0] == 1 && topic.compare(0, wire::kReadyPrefix.size(), wire::kReadyPrefix) == 0) {
                    // A listener's requests arrive in order: the ones before this are in force.
                    Message ready;
                    ready.emplace_back(topic.data(), topic.size());
                    if (!deliver(identity, ready)) m_listeners.erase(identity);
                } else if (data[0] == 1) {
                    m_listeners[identity].insert(topic);
                } else if (data[0] == 0) {
                    m_listeners[identity].erase(topic);
                }
            }
            parts.clear();
        }
    }

    void takeHandOver()
    {
        Message parts;
        if (!zmq::recv_multipart(m_intake, std::back_inserter(parts), zmq::recv_flags::dontwait)) return;
        // [identity, head, topic, body...]; anything else does not come from a Sender and is dropped. So is a
        // message whose sender has given up on it by now: it was told that it failed.
        if (parts.size() < 3) return;
        const std::optional<wire::HandOverHead> head = wire::decodeHead(parts[1].data(), parts[1].size());
        if (!head) return;
        if (wire::systemClockMs() > head->deliverByMs) return;
        const Message frames(std::make_move_iterator(parts.begin() + 2), std::make_move_iterator(parts.end()));
        const std::string topic = frames.front().to_string();
        std::vector<std::string> gone;
        for (const auto& [identity, topics] : m_listeners) {
            if (topics.count(topic) && !deliver(identity, frames)) gone.push_back(identity);
        }
        for (const std::string& identity : gone) m_listeners.erase(identity);
        // The answer to a sender that has gone is dropped by the socket.
        Message answer;
        answer.push_back(std::move(parts[0]));
        answer.emplace_back(wire::encodeSequence(head->sequence));
        (void)zmq::send_multipart(m_intake, answer, zmq::send_flags::dontwait);
    }

    // Queues the frames for one listener; false when it has gone. A listener whose backlog is full misses
    // the message, and only it: the broker never waits for it.
    bool deliver(const std::string& identity, const Message& frames)
    {
        try {
            if (!m_publish.send(zmq::buffer(identity), zmq::send_flags::sndmore | zmq::send_flags::dontwait)) {
                ++*m_dropped;
                return true;
            }
        } catch (const zmq::error_t& error) {
            if (error.num() != EHOSTUNREACH) throw;
            return false;
        }
        // Once the first frame is accepted, ZeroMQ takes the rest of the message as a whole.
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const auto more = i + 1 < frames.size() ? zmq::send_flags::sndmore : zmq::send_flags::none;
            m_publish.send(zmq::buffer(frames[i].data(), frames[i].size()), more | zmq::send_flags::dontwait);
        }
        return true;
    }

    zmq::socket_t m_intake;   // ROUTER: hand-overs from Senders, answers back to them
    zmq::socket_t m_publish;  // ROUTER: subscriptions from listeners, messages out to them
    Listeners m_listeners;
    std::shared_ptr<std::atomic<std::uint64_t>> m_dropped;
    std::shared_ptr<std::atomic<bool>> m_held;
};

int boundPort(const zmq::socket_t& socket)
{
    const std::string endpoint = socket.get(zmq::sockopt::last_endpoint);
    return std::stoi(endpoint.substr(endpoint.rfind(':') + 1));
}

}  // namespace

Broker::~Broker() { stop(); }

bool Broker::start(const std::string& host, int sendPort, int recvPort)
{
    if (isRunning()) {
        m_error = "the broker already runs";
        return false;
    }
    auto context = std::make_unique<zmq::context_t>();
    context->set(zmq::ctxopt::blocky, false);
    std::string endpoint;
    try {
        zmq::socket_t intake(*context, zmq::socket_type::router);
        intake.set(zmq::sockopt::linger, 0);
        intake.set(zmq::sockopt::maxmsgsize, kMaxFrameSize);
        endpoint = wire::tcpEndpoint(host, sendPort);
        intake.bind(endpoint);

        zmq::socket_t publish(*context, zmq::socket_type::router);
        publish.set(zmq::sockopt::linger, 0);
        publish.set(zmq::sockopt::maxmsgsize, kMaxFrameSize);
        publish.set(zmq::sockopt::sndhwm, m_subscriberBacklog);
        // A full backlog then refuses the send (EAGAIN) rather than dropping it unseen, so it is counted.
        publish.set(zmq::sockopt::router_mandatory, true);
        endpoint = wire::tcpEndpoint(host, recvPort);
        publish.bind(endpoint);

        m_sendPort = boundPort(intake);
        m_recvPort = boundPort(publish);
        m_dropped = std::make_shared<std::atomic<std::uint64_t>>(0);
        m_thread = std::thread([forwarder = Forwarder(std::move(intake), std::move(publish), m_dropped, m_held)]() mutable {
            forwarder.run();
        });
    } catch (const std::exception& error) {
        m_error = "cannot listen on " + endpoint + ": " + error.what();
        m_sendPort = m_recvPort = 0;
        return false;
    }
    m_context = std::move(context);
    m_error.clear();
    return true;
}

void Broker::stop()
{
    if (!m_context) return;
    m_context->shutdown();  // wakes the forwarder, whose sockets then close as it returns
    m_thread.join();
    m_context->close();
    m_context.reset();
    m_sendPort = m_recvPort = 0;
}

}  // namespace MsgBusNameSpace
