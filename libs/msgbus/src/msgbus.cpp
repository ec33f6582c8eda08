#include "channel_p.h"

#include <map>

namespace MsgBusNameSpace {

namespace {

class Bus {
public:
    Bus() { m_context.set(zmq::ctxopt::blocky, false); }

    // Closes the shared channels first: terminating a context waits for every socket made on it.
    ~Bus()
    {
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            for (auto& entry : m_channels) entry.second->close();
            m_channels.clear();
        }
        m_context.shutdown();
        m_context.close();
    }

    zmq::context_t& context() { return m_context; }

    std::shared_ptr<Channel> channel(const std::string& endpoint)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        std::shared_ptr<Channel>& channel = m_channels[endpoint];
        if (!channel) channel = std::make_shared<Channel>(m_context, endpoint);
        return channel;
    }

private:
    zmq::context_t m_context;
    std::mutex m_mutex;  // guards m_channels
    std::map<std::string, std::shared_ptr<Channel>> m_channels;
};

Bus& bus()
{
    static Bus instance;
    return instance;
}

}  // namespace

zmq::context_t& MsgBus::GetContext() { return bus().context(); }

std::shared_ptr<Channel> sharedChannel(const std::string& endpoint) { return bus().channel(endpoint); }

}  // namespace MsgBusNameSpace
