#include "msgbus/subscriber.h"

#include "wire_p.h"

#include <zmq_addon.hpp>

#include <atomic>
#include <iterator>

#include <unistd.h>

namespace MsgBusNameSpace {

namespace {

// A readiness topic no other listener of any process uses.
std::string freshReadyTopic()
{
    static std::atomic<unsigned long> counter{0};
    return wire::kReadyPrefix + std::to_string(::getpid()) + '.' + std::to_string(++counter);
}

}  // namespace

Subscriber::Subscriber(zmq::context_t& context, const std::string& host, int port)
    : m_socket(context, zmq::socket_type::dealer), m_monitor(context, zmq::socket_type::pair)
{
    m_socket.set(zmq::sockopt::linger, 0);
    m_monitor.set(zmq::sockopt::linger, 0);
    // The broker keeps the subscriptions: each new connection to it (a broker that restarted) gets them again.
    static std::atomic<unsigned long> monitors{0};
    const std::string events = "inproc://msgbus.subscriber." + std::to_string(++monitors);
    if (zmq_socket_monitor(m_socket.handle(), events.c_str(), ZMQ_EVENT_CONNECTED) != 0) throw zmq::error_t();
    m_monitor.connect(events);
    m_socket.connect(wire::tcpEndpoint(host, port));
}

Subscriber::~Subscriber() { zmq_socket_monitor(m_socket.handle(), nullptr, 0); }

void Subscriber::request(char action, const std::string& topic)
{
    const std::string text = action + topic;
    (void)m_socket.send(zmq::buffer(text), zmq::send_flags::dontwait);
}

bool Subscriber::subscribe(const std::string& topic, std::chrono::milliseconds timeout)
{
    request(1, topic);
    m_topics.insert(topic);

    const std::string ready = freshReadyTopic();
    request(1, ready);
    const Clock::time_point deadline = Clock::now() + timeout;
    bool confirmed = false;
    while (auto message = next(deadline)) {
        if (message->size() == 1 && message->front() == ready) {
            confirmed = true;
            break;
        }
        if (isSubscribed(*message)) m_early.push_back(std::move(*message));
    }
    return confirmed;
}

std::optional<Frames> Subscriber::receive(std::chrono::milliseconds timeout)
{
    if (!m_early.empty()) {
        Frames message = std::move(m_early.front());
        m_early.pop_front();
        return message;
    }
    const Clock::time_point deadline = Clock::now() + timeout;
    while (auto message = next(deadline)) {
        if (isSubscribed(*message)) return message;
    }
    return std::nullopt;
}

std::optional<Frames> Subscriber::next(Clock::time_point deadline)
{
    for (;;) {
        const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        zmq::pollitem_t items[] = {{m_socket.handle(), 0, ZMQ_POLLIN, 0}, {m_monitor.handle(), 0, ZMQ_POLLIN, 0}};
        try {
            zmq::poll(items, 2, std::max(remaining, std::chrono::milliseconds(0)));
        } catch (const zmq::error_t& error) {
            if (error.num() != EINTR) return std::nullopt;  // the context is shutting down
        }
        if (items[1].revents & ZMQ_POLLIN) {
            std::vector<zmq::message_t> event;
            if (zmq::recv_multipart(m_monitor, std::back_inserter(event), zmq::recv_flags::dontwait)) {
                for (const std::string& topic : m_topics) request(1, topic);
            }
        }
        if (items[0].revents & ZMQ_POLLIN) {
            std::vector<zmq::message_t> parts;
            if (zmq::recv_multipart(m_socket, std::back_inserter(parts), zmq::recv_flags::dontwait)) {
                Frames message;
                message.reserve(parts.size());
                for (const zmq::message_t& part : parts) message.push_back(part.to_string());
                return message;
            }
        }
        if (remaining.count() <= 0) return std::nullopt;
    }
}

bool Subscriber::isSubscribed(const Frames& message) const
{
    return !message.empty() && m_topics.count(message.front()) > 0;
}

}  // namespace MsgBusNameSpace
