#include "service_business/notifications.h"
#include "service_business/printer_status.h"

#include "notifications_p.h"
#include "service_business/profile_manager.h"
#include "service_business/sender.h"

#include "msgbus/msgbus.h"
#include "utility_business/ipc_define.h"
#include "utility_business/message_json.h"
#include "utility_business/process.h"

#include <QThread>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>

namespace service_business {
namespace utility {

using utility_business::MessageJson;
using utility_business::ipc_define::PublishMsg;

namespace {

const char* const kLauncherTopic = "KM_LAUNCHER_NAME";
const QString kNotification = QStringLiteral("notification");
// The enabled-state message carries 4, beside the bits 1 and 2 of a printer modification.
const int kPrinterEnabledStateChanged = 4;
const int kCloseAttempts = 50;
const int kCloseIntervalMs = 200;
// What each function may take in all, whatever the bus does: each message waits at most the bus's own
// 800 ms, and less as the limit nears; the messages left when it is up are not sent.
const int kNotifyTimeLimitMs = 2000;
const int kCloseTimeLimitMs = 10000;
std::atomic<int> g_timeLimitForTesting{-1};

class TimeLimit {
    using Clock = std::chrono::steady_clock;

public:
    explicit TimeLimit(int ms)
    {
        const int testing = g_timeLimitForTesting;
        m_deadline = Clock::now() + std::chrono::milliseconds(testing >= 0 ? testing : ms);
    }
    // Milliseconds left, 0 once the limit is up.
    int leftMs() const
    {
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_deadline - Clock::now()).count();
        return static_cast<int>(std::max<long long>(left, 0));
    }

private:
    Clock::time_point m_deadline;
};

std::function<void(int)>& sleepSource()
{
    static std::function<void(int)> source;
    return source;
}

void pause(int ms)
{
    const std::function<void(int)>& source = sleepSource();
    if (source)
        source(ms);
    else
        QThread::msleep(static_cast<unsigned long>(ms));
}

PublishMsg notification(const QString& name)
{
    PublishMsg msg(name, kNotification);
    msg.setType(kNotification);
    return msg;
}

template <typename Topic>
bool publish(const Topic& topic, const PublishMsg& msg, const TimeLimit& limit)
{
    const int left = limit.leftMs();
    return left > 0 && Sender::publishData(topic, msg, std::min<int>(left, MsgBusNameSpace::Sender::kDefaultTimeout.count()));
}

void publishToEveryProfile(const PublishMsg& msg, const TimeLimit& limit)
{
    for (const auto& profile : ProfileManager::profileList()) publish(profile->id(), msg, limit);
}

void say(const char* text)
{
    std::fputs(text, stdout);
    std::fflush(stdout);
}

}  // namespace

void setSleepForTesting(std::function<void(int ms)> sleep) { sleepSource() = std::move(sleep); }

void setTimeLimitForTesting(int ms) { g_timeLimitForTesting = ms; }

void notifyAppNetworkStatus(const utility_business::utility_enum::NetErrType& error, const int& value)
{
    PublishMsg msg = notification(QStringLiteral("networkHasChanged"));
    msg.addArgument(static_cast<int>(error));
    msg.addArgument(value);
    publishToEveryProfile(msg, TimeLimit(kNotifyTimeLimitMs));
}

void notifyAppPrinterEnabledStateChanged(int profileId)
{
    PublishMsg msg = notification(QStringLiteral("printerHasChanged"));
    msg.addArgument(kPrinterEnabledStateChanged);
    publish(profileId, msg, TimeLimit(kNotifyTimeLimitMs));
}

void notifyAppPrinterModification(utility_business::utility_enum::PrinterModification modification)
{
    PublishMsg msg = notification(QStringLiteral("printerHasChanged"));
    msg.addArgument(static_cast<int>(modification));
    publishToEveryProfile(msg, TimeLimit(kNotifyTimeLimitMs));
}

void notifyAppPrinterStatusChanged(int printerId, const PrinterStatus& status)
{
    PublishMsg msg = notification(QStringLiteral("printerStatusChanged"));
    msg.addArgument(printerId);
    msg.addArgument(PrinterStatus::stateName(status.state));
    msg.addArgument(status.reason);
    publishToEveryProfile(msg, TimeLimit(kNotifyTimeLimitMs));
}

void printOrderCallBack(int id, const QString& text, bool done)
{
    PublishMsg msg(QStringLiteral("systemPrintCompleted"), kNotification);
    msg.addArgument(text);
    msg.addArgument(done);
    publish(id, msg, TimeLimit(kNotifyTimeLimitMs));
}

void pushMsgToAllBrowser(const QString& text)
{
    PublishMsg msg(QStringLiteral("pushMsgToBrowser"), kNotification);
    msg.addArgument(text);
    const TimeLimit limit(kNotifyTimeLimitMs);
    publish(QString::fromLatin1(kLauncherTopic), msg, limit);
    publishToEveryProfile(msg, limit);
}

void pushPrintersHasChangedMsg()
{
    pushMsgToAllBrowser(MessageJson(QStringLiteral("pc.print.printersHasChanged")).toString());
}

void pushProfilesHasChangedMsg()
{
    pushMsgToAllBrowser(MessageJson(QStringLiteral("pc.profile.profilesHasChanged")).toString());
}

bool closeApp(int profileId)
{
    const auto profile = ProfileManager::profile(profileId);
    if (!profile) return true;
    const PublishMsg msg(QStringLiteral("closeApp"), kNotification);
    const TimeLimit limit(kCloseTimeLimitMs);
    for (int attempt = 0; attempt < kCloseAttempts && profile->isUsing() && limit.leftMs() > 0; ++attempt) {
        publish(profileId, msg, limit);
        pause(std::min(kCloseIntervalMs, limit.leftMs()));
    }
    return !profile->isUsing();
}

void closeRelationalExe()
{
    say("send launcher exit ");
    Sender::publishData(QLatin1String(kLauncherTopic), PublishMsg(QStringLiteral("closeLauncher"), kNotification));
    say("send app exit ");
    const PublishMsg closeAppMsg(QStringLiteral("closeApp"), kNotification);
    // No limit on the passes, by design: this returns only once every shop window has gone.
    while (utility_business::process::hasKelmoAppRunning()) {
        for (const auto& profile : ProfileManager::profileList()) {
            Sender::publishData(profile->id(), closeAppMsg);
            std::printf("send app exit to : %d\n", profile->id());
            std::fflush(stdout);
        }
        pause(kCloseIntervalMs);
    }
}

}  // namespace utility
}  // namespace service_business
