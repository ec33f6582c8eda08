#pragma once
// Private to msgbus: not part of its interface.
// The conversation between the bus's own sockets.
//
// Hand-over (a publisher's DEALER to the broker's ROUTER): [head, topic, body...], the head being the
// sequence and the time by which the message must be delivered or not at all; the broker forwards
// [topic, body...] to its subscribers and answers [sequence] once it has done so, or drops a message whose
// time has passed, answering nothing: its sender has been told that it failed, and it must not arrive later.
// Both are 8 bytes in host order; the sequence only has to match within one connection, so a late answer to
// an abandoned message is told apart from the answer awaited now. The time is in milliseconds of the system
// clock, which the client's processes on one machine share.
//
// Readiness: a listener subscribes to a fresh topic that starts with kReadyPrefix after its real topics.
// The broker answers every new subscription of that form with a one-frame message on that topic. Since a
// listener's subscriptions reach the broker in order, the answer proves that the real ones are in force.

#include <chrono>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

namespace MsgBusNameSpace {
namespace wire {

inline const std::string kReadyPrefix("\x01msgbus.ready.", 14);

inline std::string encodeSequence(std::uint64_t sequence)
{
    std::string frame(sizeof sequence, '\0');
    std::memcpy(frame.data(), &sequence, sizeof sequence);
    return frame;
}

inline std::optional<std::uint64_t> decodeSequence(const void* data, std::size_t size)
{
    std::uint64_t sequence = 0;
    if (size != sizeof sequence) return std::nullopt;
    std::memcpy(&sequence, data, sizeof sequence);
    return sequence;
}

struct HandOverHead {
    std::uint64_t sequence;
    std::int64_t deliverByMs;
};

inline std::string encodeHead(const HandOverHead& head)
{
    std::string frame = encodeSequence(head.sequence);
    frame.append(reinterpret_cast<const char*>(&head.deliverByMs), sizeof head.deliverByMs);
    return frame;
}

inline std::optional<HandOverHead> decodeHead(const void* data, std::size_t size)
{
    HandOverHead head{};
    if (size != sizeof head.sequence + sizeof head.deliverByMs) return std::nullopt;
    std::memcpy(&head.sequence, data, sizeof head.sequence);
    std::memcpy(&head.deliverByMs, static_cast<const char*>(data) + sizeof head.sequence, sizeof head.deliverByMs);
    return head;
}

inline std::int64_t systemClockMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// "tcp://host:port", or "tcp://host:*" for port 0 (a free port chosen when binding).
inline std::string tcpEndpoint(const std::string& host, int port)
{
    return "tcp://" + host + ':' + (port == 0 ? std::string("*") : std::to_string(port));
}

}  // namespace wire
}  // namespace MsgBusNameSpace
