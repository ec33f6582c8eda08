#pragma once
// The registry of the profiles signed in on this machine, loaded from the settings store on first use and
// kept in step with it: adding or removing a profile goes through the store first, and the registry
// changes only when the store did.
//
// No lock is taken: keep profile management on one thread (Profile::setIsUsing and isUsing excepted).

#include "service_business/export.h"
#include "service_business/profile.h"

#include "common/common.h"
#include "utility_business/utility_structs.h"

#include <QList>

namespace service_business {

class SERVICE_BUSINESS_EXPORT ProfileManager {
public:
    // No profile.
    static constexpr int INDEX_NONE = -1;
    // The default profile, a marker callers pass instead of a real id. The registry never holds it: every
    // operation here treats it as an unknown id.
    static constexpr int INDEX_DEFAULT = -2;

    // Stores a new profile with default settings and registers it; null when the store could not take it,
    // or when the leftover browser cache of its id could not be deleted (the store entry is undone then).
    static common::RefPtr<Profile> addProfile(const utility_business::ProfileInfo& info);
    // Removes the profile from the store, deletes its browser cache and its directory, and unregisters it.
    // False for an unknown id, for a profile marked in use within the last 5000 ms, and when the store
    // could not remove it.
    static bool removeProfile(int id);
    // The registered profile, or null.
    static common::RefPtr<Profile> profile(int id);
    static bool profileExist(int id);
    // Every registered profile, in id order.
    static QList<common::RefPtr<Profile>> profileList();
    static bool isEmpty();
};

}  // namespace service_business
