#include "msgbus/broker.h"

#include "wire_p.h"

#include <zmq_addon.hpp>

#include <deque>
#include <iterator>
#include <vector>

namespace MsgBusNameSpace {

namespace {

using Message = std::vector<zmq::message_t>;

// Larger frames are refused at the door: a peer that sends one is disconnected.
constexpr std::int64_t kMaxFrameSize = 16 * 1024 * 1024;
// How soon the broker tries again to publish to a subscriber whose backlog is full.
constexpr std::chrono::milliseconds kRetryInterval{2};

// A message on its way to the subscribers, with the answer owed to its sender (none for a readiness answer).
struct Outgoing {
    Message frames;
    Message answer;  // [sender identity, sequence]
};

class Forwarder {
public:
    Forwarder(zmq::socket_t intake, zmq::socket_t publish) : m_intake(std::move(intake)), m_publish(std::move(publish)) {}

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
        // New hand-overs wait while a message is held back, so that order is kept and nothing is skipped.
        zmq::pollitem_t items[] = {{m_publish.handle(), 0, ZMQ_POLLIN, 0},
                                   {m_intake.handle(), 0, static_cast<short>(m_queue.empty() ? ZMQ_POLLIN : 0), 0}};
        zmq::poll(items, 2, m_queue.empty() ? std::chrono::milliseconds(-1) : kRetryInterval);
        if (items[0].revents & ZMQ_POLLIN) takeSubscriptions();
        if (items[1].revents & ZMQ_POLLIN) takeHandOver();
        flush();
    }

    void takeSubscriptions()
    {
        zmq::message_t message;
        while (m_publish.recv(message, zmq::recv_flags::dontwait)) {
            // A subscription is the byte 1 followed by the topic; 0 is an unsubscription.
            const auto* data = static_cast<const char*>(message.data());
            if (message.size() < 1 || data[0] != 1) continue;
            const std::string topic(data + 1, message.size() - 1);
            if (topic.compare(0, wire::kReadyPrefix.size(), wire::kReadyPrefix) != 0) continue;
            Outgoing ready;
            ready.frames.emplace_back(topic.data(), topic.size());
            m_queue.push_back(std::move(ready));
        }
    }

    void takeHandOver()
    {
        Message parts;
        if (!zmq::recv_multipart(m_intake, std::back_inserter(parts), zmq::recv_flags::dontwait)) return;
        // [identity, sequence, topic, body...]; anything else does not come from a Sender and is dropped.
        if (parts.size() < 3 || !wire::decodeSequence(parts[1].data(), parts[1].size())) return;
        Outgoing out;
        out.answer.push_back(std::move(parts[0]));
        out.answer.push_back(std::move(parts[1]));
        out.frames.assign(std::make_move_iterator(parts.begin() + 2), std::make_move_iterator(parts.end()));
        m_queue.push_back(std::move(out));
    }

    void flush()
    {
        while (!m_queue.empty()) {
            Outgoing& front = m_queue.front();
            // Refused as a whole while some matching subscriber's backlog is full (ZMQ_XPUB_NODROP).
            if (!zmq::send_multipart(m_publish, front.frames, zmq::send_flags::dontwait)) return;
            // The answer to a sender that has gone is dropped by the socket.
            if (!front.answer.empty()) (void)zmq::send_multipart(m_intake, front.answer, zmq::send_flags::dontwait);
            m_queue.pop_front();
        }
    }

    zmq::socket_t m_intake;   // ROUTER: hand-overs from Senders, answers back to them
    zmq::socket_t m_publish;  // XPUB: messages out to subscribers, subscriptions in
    std::deque<Outgoing> m_queue;
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

        zmq::socket_t publish(*context, zmq::socket_type::xpub);
        publish.set(zmq::sockopt::linger, 0);
        publish.set(zmq::sockopt::sndhwm, m_subscriberBacklog);
        publish.set(zmq::sockopt::xpub_nodrop, true);
        endpoint = wire::tcpEndpoint(host, recvPort);
        publish.bind(endpoint);

        m_sendPort = boundPort(intake);
        m_recvPort = boundPort(publish);
        m_thread = std::thread([forwarder = Forwarder(std::move(intake), std::move(publish))]() mutable {
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
