#pragma once
// A listener on the bus: connects to the broker's serving port and receives the messages of the topics it
// subscribed to, as [topic, body...]. Topics match exactly (ZeroMQ's own matching is by prefix, which would
// let a listener of profile "1" hear profile "12").

#include "msgbus/msgbus.h"

#include <chrono>
#include <deque>
#include <optional>
#include <set>
#include <string>

namespace MsgBusNameSpace {

class Subscriber {
public:
    // Connects to tcp://host:port, the broker's serving port (utility_business::Config::serverRecvPort).
    // Throws zmq::error_t when ZeroMQ refuses the endpoint; a broker that is not there yet is no error.
    Subscriber(zmq::context_t& context, const std::string& host, int port);
    ~Subscriber();
    Subscriber(const Subscriber&) = delete;
    Subscriber& operator=(const Subscriber&) = delete;

    // Subscribes to the topic and waits until the broker confirms that the subscription is in force: every
    // message handed over from then on reaches this subscriber. False when no confirmation came in time;
    // the subscription stays requested and takes effect whenever the broker gets it.
    bool subscribe(const std::string& topic, std::chrono::milliseconds timeout);

    // The next message of a subscribed topic, waiting up to the timeout; nullopt when none came.
    std::optional<Frames> receive(std::chrono::milliseconds timeout);

private:
    using Clock = std::chrono::steady_clock;

    // Asks the broker to subscribe (action 1) or unsubscribe (0) the topic.
    void request(char action, const std::string& topic);
    // Any message that arrives before the deadline, readiness answers included.
    std::optional<Frames> next(Clock::time_point deadline);
    bool isSubscribed(const Frames& message) const;

    zmq::socket_t m_socket;   // DEALER to the broker's serving port
    zmq::socket_t m_monitor;  // the socket's connection events, to subscribe again after a reconnection
    std::set<std::string> m_topics;
    std::deque<Frames> m_early;  // messages that arrived while subscribe() waited for its confirmation
};

}  // namespace MsgBusNameSpace
