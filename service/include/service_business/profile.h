#pragma once
// One shop account signed in on this machine: its id, its name, its settings in the store and the cache
// directory of its browser. Shared as common::RefPtr<Profile> and handed out by ProfileManager.
//
// Nothing but the id, the name and the in-use mark is kept here; every setting is read from and written to
// the settings store on each call.

#include "service_business/export.h"

#include "utility_business/utility_structs.h"

#include <QDebug>
#include <QString>

#include <atomic>

namespace service_business {

class SERVICE_BUSINESS_EXPORT Profile {
public:
    // The name is the store's user name of the profile, "Zhevo" when the store has none; `name` only
    // stands in until the store is asked.
    Profile(int id, const QString& name);

    int id() const { return m_id; }
    QString name() const { return m_name; }

    utility_business::ProfileInfo profileInfo() const;
    bool setProfileInfo(const utility_business::ProfileInfo& info);
    utility_business::UserConfig userConfig() const;
    bool setUserConfig(const utility_business::UserConfig& config);
    utility_business::WindowInfo windowInfo() const;
    bool setWindowInfo(const utility_business::WindowInfo& info);

    // The browser cache directory of the profile, created with its parents when it is missing.
    QString cefCachePath() const;
    // Deletes that directory with everything in it; true when it is gone (also when it was not there).
    bool cleanCefCache() const;

    // Marks the profile in use (or not) as of now. A mark lapses by itself 5000 ms after it was set, so a
    // window that wants to stay marked sets it again within that time. Safe from any thread.
    void setIsUsing(bool isUsing);
    // The mark, unless it is more than 5000 ms old. The age is taken on the time of day, so a mark set
    // before midnight and read after it counts as fresh until it is set again.
    bool isUsing() const;

    // "<name>: is using" or "<name>: not using", for diagnostics.
    QString toString() const;

    static utility_business::UserConfig defaultConfig(int id);
    // A window centred on the screen and no larger than 1008 x 665, at zoom 100, not maximised.
    static utility_business::WindowInfo defaultWindowInfo();

private:
    int m_id;
    QString m_name;
    std::atomic<bool> m_isUsing{false};
    std::atomic<int> m_usingTime{0};  // time of day of the last setIsUsing, in ms since midnight
};

SERVICE_BUSINESS_EXPORT QDebug operator<<(QDebug debug, const Profile& profile);

}  // namespace service_business
