#include "channel_p.h"

#include "wire_p.h"

#include <zmq_addon.hpp>

#include <algorithm>

namespace MsgBusNameSpace {

namespace {
const std::chrono::milliseconds kAnswerRoom(200);
}  // namespace

Channel::Channel(zmq::context_t& context, std::string endpoint)
    : m_context(context), m_endpoint(std::move(endpoint))
{
}

Channel::~Channel() { close(); }

void Channel::close()
{
    std::lock_guard<std::timed_mutex> lock(m_mutex);
    m_socket.reset();
}

zmq::socket_t& Channel::socket()
{
    if (!m_socket) {
        zmq::socket_t socket(m_context, zmq::socket_type::dealer);
        socket.set(zmq::sockopt::linger, 0);
        // Queue nothing while the broker is away: a hand-over then fails at once instead of waiting inside
        // the socket and reaching subscribers after its sender was told that it failed.
        socket.set(zmq::sockopt::immediate, true);
        socket.connect(m_endpoint);
        m_socket.emplace(std::move(socket));
    }
    return *m_socket;
}

bool Channel::waitFor(short events, Clock::time_point deadline)
{
    for (;;) {
        const auto remaining = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        zmq::pollitem_t item{m_socket->handle(), 0, events, 0};
        try {
            zmq::poll(&item, 1, std::max(remaining, std::chrono::milliseconds(0)));
        } catch (const zmq::error_t& error) {
            if (error.num() != EINTR) throw;
        }
        if (item.revents & events) return true;
        if (remaining.count() <= 0) return false;
    }
}

bool Channel::awaitAnswer(std::uint64_t sequence, Clock::time_point deadline)
{
    while (waitFor(ZMQ_POLLIN, deadline)) {
        std::vector<zmq::message_t> answer;
        if (!zmq::recv_multipart(*m_socket, std::back_inserter(answer), zmq::recv_flags::dontwait)) continue;
        // Answers to hand-overs that timed out earlier may still arrive; only this one counts.
        if (answer.size() == 1 && wire::decodeSequence(answer[0].data(), answer[0].size()) == sequence) {
            return true;
        }
    }
    return false;
}

bool Channel::handOver(const Frames& frames, std::chrono::milliseconds timeout)
{
    // The timeout covers the wait for other threads' hand-overs too, so a missing broker fails each sender
    // in its own time rather than one after another.
    const Clock::time_point deadline = Clock::now() + timeout;
    std::unique_lock<std::timed_mutex> lock(m_mutex, deadline);
    if (!lock.owns_lock()) return false;
    try {
        zmq::socket_t& out = socket();
        if (!waitFor(ZMQ_POLLOUT, deadline)) return false;  // no broker connected: nothing was sent
        const std::uint64_t sequence = ++m_sequence;
        // The broker delivers the message only by a time that leaves its answer room to come back before the
        // deadline, so that a message this sender reports as failed is never delivered later.
        const auto answerRoom = std::min<std::chrono::milliseconds>(timeout / 4, kAnswerRoom);
        const std::int64_t deliverBy =
            wire::systemClockMs() +
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now() - answerRoom).count();
        const std::string head = wire::encodeHead({sequence, deliverBy});
        // Once the first frame is accepted, ZeroMQ takes the rest of the message as a whole.
        if (!out.send(zmq::buffer(head), zmq::send_flags::sndmore | zmq::send_flags::dontwait)) return false;
        for (std::size_t i = 0; i < frames.size(); ++i) {
            const auto more = i + 1 < frames.size() ? zmq::send_flags::sndmore : zmq::send_flags::none;
            out.send(zmq::buffer(frames[i]), more | zmq::send_flags::dontwait);
        }
        // Without an answer in time the connection is kept all the same: a message the broker is holding
        // back must not be overtaken by this thread's next one on a fresh connection.
        return awaitAnswer(sequence, deadline);
    } catch (const zmq::error_t&) {
        m_socket.reset();  // a bad endpoint, or the context shutting down at exit
        return false;
    }
}

}  // namespace MsgBusNameSpace
