#include "service_business/notifications.h"

#include "notifications_p.h"
#include "service_business/profile_manager.h"
#include "service_business/sender.h"

#include "utility_business/ipc_define.h"
#include "utility_business/message_json.h"
#include "utility_business/process.h"

#include <QThread>

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

void publishToEveryProfile(const PublishMsg& msg)
{
    for (const auto& profile : ProfileManager::profileList()) Sender::publishData(profile->id(), msg);
}

void say(const char* text)
{
    std::fputs(text, stdout);
    std::fflush(stdout);
}

}  // namespace

void setSleepForTesting(std::function<void(int ms)> sleep) { sleepSource() = std::move(sleep); }

void notifyAppNetworkStatus(const utility_business::utility_enum::NetErrType& error, const int& value)
{
    PublishMsg msg = notification(QStringLiteral("networkHasChanged"));
    msg.addArgument(static_cast<int>(error));
    msg.addArgument(value);
    publishToEveryProfile(msg);
}

void notifyAppPrinterEnabledStateChanged(int profileId)
{
    PublishMsg msg = notification(QStringLiteral("printerHasChanged"));
    msg.addArgument(kPrinterEnabledStateChanged);
    Sender::publishData(profileId, msg);
}

void notifyAppPrinterModification(utility_business::utility_enum::PrinterModification modification)
{
    PublishMsg msg = notification(QStringLiteral("printerHasChanged"));
    msg.addArgument(static_cast<int>(modification));
    publishToEveryProfile(msg);
}

void printOrderCallBack(int id, const QString& text, bool done)
{
    PublishMsg msg(QStringLiteral("systemPrintCompleted"), kNotification);
    msg.addArgument(text);
    msg.addArgument(done);
    Sender::publishData(id, msg);
}

void pushMsgToAllBrowser(const QString& text)
{
    PublishMsg msg(QStringLiteral("pushMsgToBrowser"), kNotification);
    msg.addArgument(text);
    Sender::publishData(QLatin1String(kLauncherTopic), msg);
    publishToEveryProfile(msg);
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
    for (int attempt = 0; attempt < kCloseAttempts && profile->isUsing(); ++attempt) {
        Sender::publishData(profileId, msg);
        pause(kCloseIntervalMs);
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
