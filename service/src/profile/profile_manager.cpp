#include "service_business/profile_manager.h"

#include "profile/profile_manager_p.h"
#include "profile/profile_p.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"

#include "utility_business/kelmo_path_info.h"
#include "utility_business/log.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>

namespace service_business {

using namespace utility_business;
using json_db::JsonDB;

namespace {

const char* const kLogUnit = "src/profile/profile_manager";

using Registry = QMap<int, common::RefPtr<Profile>>;

Registry& registry()
{
    static Registry profiles;
    return profiles;
}

// Loads the store's profiles while the registry is empty. Profile ids are positive; a member of another
// name in a damaged file is no profile.
Registry& loadedRegistry()
{
    Registry& profiles = registry();
    if (!profiles.isEmpty()) return profiles;
    const QMap<int, QString> stored = JsonDB::browser()->profilesMap();
    for (auto it = stored.cbegin(); it != stored.cend(); ++it) {
        if (it.key() > 0) profiles.insert(it.key(), std::make_shared<Profile>(it.key(), it.value()));
    }
    return profiles;
}

}  // namespace

void resetProfileManagerForTests() { registry().clear(); }

common::RefPtr<Profile> ProfileManager::addProfile(const ProfileInfo& info)
{
    Registry& profiles = loadedRegistry();
    const int id = JsonDB::updater()->addProfile(info);
    if (id == -1) {
        log::NormalLog("error", kLogUnit, __LINE__)
            << QStringLiteral("addProfile failed: user_name:%1, ksid:%2").arg(info.username, info.ksid);
        return nullptr;
    }
    // A cache left behind by an earlier profile of this id must not be handed to the new one.
    const QString cacheDir = kelmoPathInfo().cefcacheDir(id);
    if (QFileInfo::exists(cacheDir) && !profile_internal::removeDirectory(cacheDir)) {
        JsonDB::updater()->removeProfile(id);
        log::NormalLog("error", kLogUnit, __LINE__) << "clean invalid cache dir failed";
        return nullptr;
    }
    JsonDB::updater()->updateUserConfig(id, Profile::defaultConfig(id));
    JsonDB::updater()->updateWindowInfo(id, Profile::defaultWindowInfo());
    const auto profile = std::make_shared<Profile>(id, info.username);
    profiles.insert(id, profile);
    return profile;
}

bool ProfileManager::removeProfile(int id)
{
    Registry& profiles = loadedRegistry();
    const common::RefPtr<Profile> profile = profiles.value(id);
    if (!profile || profile->isUsing()) return false;
    if (!JsonDB::updater()->removeProfile(id)) return false;
    profile->cleanCefCache();
    profiles.remove(id);
    profile_internal::removeDirectory(kelmoPathInfo().profileDir(id));
    return true;
}

common::RefPtr<Profile> ProfileManager::profile(int id) { return loadedRegistry().value(id); }

bool ProfileManager::profileExist(int id) { return loadedRegistry().contains(id); }

QList<common::RefPtr<Profile>> ProfileManager::profileList() { return loadedRegistry().values(); }

bool ProfileManager::isEmpty() { return loadedRegistry().isEmpty(); }

}  // namespace service_business
