#pragma once
// The client's message bus. Every process of the client meets at one broker (msgbus/broker.h): publishers
// hand messages to the broker's receiving port, and listeners subscribe to topics on its serving port
// (msgbus/subscriber.h). A message is a list of frames, the first of which is its topic.
//
// Publishing goes through one long-lived connection per process and broker port, shared by every Sender
// made on the process-wide context. A Sender is cheap to make for a single message: it neither opens a
// socket nor waits for subscriptions to travel to it, because the broker, which already knows every
// subscription, does the filtering. SendMsg returns true once the broker has acknowledged the message,
// which means it has been queued for every receiver subscribed to its topic at that moment (but one whose
// backlog is full, which misses it; see msgbus/broker.h).

#include <zmq.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace MsgBusNameSpace {

using Frames = std::vector<std::string>;

class Channel;

class MsgBus {
public:
    // The process-wide ZeroMQ context. Its sockets never linger: at process exit the bus closes its own
    // connections and shuts the context down, so exit never waits for unsent messages or a missing broker.
    static zmq::context_t& GetContext();
};

class Sender {
public:
    // The only kind of sender: a one-way hand-over of messages to the broker, named after the ZeroMQ socket
    // type it plays (ZMQ_PUSH). A Sender of another kind refuses to send.
    static constexpr int kHandOver = ZMQ_PUSH;
    // How long SendMsg waits for the broker when it is given a negative timeout.
    static constexpr std::chrono::milliseconds kDefaultTimeout{800};

    // Called once with the outcome of a SendMsg: true when the broker took the message.
    using ReplyCallback = std::function<void(bool taken)>;

    // context: on MsgBus::GetContext() the sender uses the process's shared connection to the broker; on any
    //          other context it makes a connection of its own that lives as long as the sender.
    // kind:    kHandOver (8).
    // port:    the broker's receiving port on the configured bus host (utility_business::Config).
    // name:    the sender's name, for diagnostics only; may be empty.
    Sender(zmq::context_t& context, int kind, int port, const std::wstring& name);
    ~Sender();
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    // Hands the frames (topic first, at least one frame) to the broker and waits up to timeoutMs (negative:
    // kDefaultTimeout) for its acknowledgement. True when the broker took the message. False, without
    // retrying, when frames is empty, the kind is not kHandOver, the broker cannot be reached or it does not
    // answer in time. A message that never reached the broker is dropped then, never queued for later; one
    // that reached it but was answered too late may still be published, in its place in the order. The
    // callback, when given, gets the result. Messages that one thread sends arrive in the order it sent them.
    bool SendMsg(const Frames& frames, int timeoutMs, const ReplyCallback& reply);

    int kind() const { return m_kind; }
    int port() const { return m_port; }
    const std::wstring& name() const { return m_name; }

private:
    int m_kind;
    int m_port;
    std::wstring m_name;
    std::shared_ptr<Channel> m_channel;  // null for a sender that refuses to send
};

}  // namespace MsgBusNameSpace
