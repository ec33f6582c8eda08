#include "msgbus/msgbus.h"

#include "channel_p.h"
#include "wire_p.h"

#include "utility_business/config.h"

namespace MsgBusNameSpace {

Sender::Sender(zmq::context_t& context, int kind, int port, const std::wstring& name)
    : m_kind(kind), m_port(port), m_name(name)
{
    if (kind != kHandOver || port <= 0 || port > 65535) return;
    const std::string endpoint = wire::tcpEndpoint(utility_business::Config::get()->serverHost(), port);
    m_channel = &context == &MsgBus::GetContext() ? sharedChannel(endpoint)
                                                  : std::make_shared<Channel>(context, endpoint);
}

Sender::~Sender() = default;

bool Sender::SendMsg(const Frames& frames, int timeoutMs, const ReplyCallback& reply)
{
    const std::chrono::milliseconds timeout = timeoutMs < 0 ? kDefaultTimeout : std::chrono::milliseconds(timeoutMs);
    const bool taken = m_channel && !frames.empty() && m_channel->handOver(frames, timeout);
    if (reply) reply(taken);
    return taken;
}

}  // namespace MsgBusNameSpace
