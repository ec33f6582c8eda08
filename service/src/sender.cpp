#include "service_business/sender.h"

#include "msgbus/msgbus.h"
#include "utility_business/config.h"

namespace service_business {

namespace {
std::string topicText(int topic) { return std::to_string(topic); }
}  // namespace

Sender::Sender()
    : m_sender(std::make_unique<MsgBusNameSpace::Sender>(MsgBusNameSpace::MsgBus::GetContext(),
                                                         MsgBusNameSpace::Sender::kHandOver,
                                                         utility_business::Config::get()->serverSendPort(),
                                                         std::wstring()))
{
}

Sender::~Sender() = default;

bool Sender::sendData(const std::string& topic, const std::string& body, int timeoutMs)
{
    return m_sender && m_sender->SendMsg({topic, body}, timeoutMs, nullptr);
}

bool Sender::sendData(int topic, const std::string& body, int timeoutMs)
{
    return sendData(topicText(topic), body, timeoutMs);
}

bool Sender::publishData(const QString& topic, const utility_business::ipc_define::PublishMsg& msg, int timeoutMs)
{
    Sender sender;
    return sender.sendData(topic.toStdString(), msg.toString().toStdString(), timeoutMs);
}

bool Sender::publishData(int topic, const utility_business::ipc_define::PublishMsg& msg, int timeoutMs)
{
    Sender sender;
    return sender.sendData(topic, msg.toString().toStdString(), timeoutMs);
}

}  // namespace service_business
