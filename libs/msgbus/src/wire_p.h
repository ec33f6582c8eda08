#pragma once
// Internal to msgbus, not part of its interface: the conversation between the bus's own sockets.
//
// Hand-over (a publisher's DEALER to the broker's ROUTER): [sequence, topic, body...]; the broker forwards
// [topic, body...] to its subscribers and answers [sequence] once it has done so. The sequence is 8 bytes in
// host order; it only has to match within one connection, so a late answer to an abandoned message is told
// apart from the answer awaited now.
//
// Readiness: a listener subscribes to a fresh topic that starts with kReadyPrefix after its real topics.
// The broker answers every new subscription of that form with a one-frame message on that topic. Since a
// listener's subscriptions reach the broker in order, the answer proves that the real ones are in force.

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

// "tcp://host:port", or "tcp://host:*" for port 0 (a free port chosen when binding).
inline std::string tcpEndpoint(const std::string& host, int port)
{
    return "tcp://" + host + ':' + (port == 0 ? std::string("*") : std::to_string(port));
}

}  // namespace wire
}  // namespace MsgBusNameSpace
