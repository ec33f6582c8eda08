#pragma once
// Private to msgbus: not part of its interface.
// One connection over which Senders hand messages to a broker.

#include "msgbus/msgbus.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace MsgBusNameSpace {

class Channel {
public:
    Channel(zmq::context_t& context, std::string endpoint);
    ~Channel();
    Channel(const Channel&) = delete;
    Channel& operator=(const Channel&) = delete;

    // Sends [sequence, frames...] and waits until the broker answers with that sequence or the timeout ends.
    bool handOver(const Frames& frames, std::chrono::milliseconds timeout);
    // Closes the connection; the next hand-over opens a new one.
    void close();

private:
    using Clock = std::chrono::steady_clock;

    zmq::socket_t& socket();
    bool waitFor(short events, Clock::time_point deadline);
    bool awaitAnswer(std::uint64_t sequence, Clock::time_point deadline);

    zmq::context_t& m_context;
    const std::string m_endpoint;
    // m_mutex guards the members below it. One hand-over at a time: a thread's messages leave in its order,
    // and a ZeroMQ socket is only ever used by one thread at a time.
    std::timed_mutex m_mutex;
    std::optional<zmq::socket_t> m_socket;  // made on first use, dropped when ZeroMQ reports an error
    std::uint64_t m_sequence = 0;
};

// The process's shared channel to the broker at endpoint, on MsgBus::GetContext(); made on first use.
std::shared_ptr<Channel> sharedChannel(const std::string& endpoint);

}  // namespace MsgBusNameSpace
