#include "service_business/profile.h"

#include "profile/profile_p.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"
#include "sys_info_p.h"

#include "utility_business/kelmo_path_info.h"

#include <QDir>
#include <QTime>

#include <algorithm>

namespace service_business {

using namespace utility_business;
using json_db::JsonDB;

namespace profile_internal {

namespace {
std::function<int()>& clockSource()
{
    static std::function<int()> source;
    return source;
}

std::function<bool(const QString&)>& removeSource()
{
    static std::function<bool(const QString&)> source;
    return source;
}
}  // namespace

int timeOfDayMs()
{
    const std::function<int()>& source = clockSource();
    return source ? source() : QTime::currentTime().msecsSinceStartOfDay();
}

bool removeDirectory(const QString& path)
{
    const std::function<bool(const QString&)>& source = removeSource();
    return source ? source(path) : QDir(path).removeRecursively();
}

void setTimeOfDayForTesting(std::function<int()> clock) { clockSource() = std::move(clock); }
void setRemoveDirectoryForTesting(std::function<bool(const QString&)> remove) { removeSource() = std::move(remove); }

}  // namespace profile_internal

namespace {
const int kUsingLapseMs = 5000;
const int kMaxWindowWidth = 1008;
const int kMaxWindowHeight = 665;
const char* const kBrandName = "Zhevo";
}  // namespace

Profile::Profile(int id, const QString& name) : m_id(id), m_name(name)
{
    m_name = JsonDB::browser()->profileName(id);
    if (m_name.isEmpty()) m_name = QLatin1String(kBrandName);
}

ProfileInfo Profile::profileInfo() const { return JsonDB::browser()->profileInfo(m_id); }
bool Profile::setProfileInfo(const ProfileInfo& info) { return JsonDB::updater()->updateProfile(m_id, info); }
UserConfig Profile::userConfig() const { return JsonDB::browser()->userConfig(m_id); }
bool Profile::setUserConfig(const UserConfig& config) { return JsonDB::updater()->updateUserConfig(m_id, config); }
WindowInfo Profile::windowInfo() const { return JsonDB::browser()->windowInfo(m_id); }
bool Profile::setWindowInfo(const WindowInfo& info) { return JsonDB::updater()->updateWindowInfo(m_id, info); }

QString Profile::cefCachePath() const
{
    const QString path = kelmoPathInfo().cefcacheDir(m_id);
    QDir().mkpath(path);
    return path;
}

bool Profile::cleanCefCache() const { return profile_internal::removeDirectory(kelmoPathInfo().cefcacheDir(m_id)); }

void Profile::setIsUsing(bool isUsing)
{
    m_usingTime.store(profile_internal::timeOfDayMs());
    m_isUsing.store(isUsing);
}

bool Profile::isUsing() const
{
    if (!m_isUsing.load()) return false;
    return profile_internal::timeOfDayMs() - m_usingTime.load() <= kUsingLapseMs;
}

QString Profile::toString() const
{
    return m_name + (isUsing() ? QStringLiteral(": is using") : QStringLiteral(": not using"));
}

UserConfig Profile::defaultConfig(int /*id*/) { return UserConfig(); }

WindowInfo Profile::defaultWindowInfo()
{
    const QRect screen = utility::screenResolution();
    const int screenWidth = screen.right() - screen.left() + 1;
    const int screenHeight = screen.bottom() - screen.top() + 1;
    WindowInfo info;
    info.width = std::min(screenWidth, kMaxWindowWidth);
    info.height = std::min(screenHeight, kMaxWindowHeight);
    info.x = (screenWidth - info.width) / 2;
    info.y = (screenHeight - info.height) / 2;
    info.zoom_level = 100;
    info.maximize = false;
    return info;
}

QDebug operator<<(QDebug debug, const Profile& profile)
{
    QDebugStateSaver saver(debug);
    debug.noquote().nospace() << profile.toString();
    return debug;
}

}  // namespace service_business
