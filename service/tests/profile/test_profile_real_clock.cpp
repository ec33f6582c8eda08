// The in-use mark on the real clock: it keeps the registry from removing a profile for 5000 ms, then lapses
// by itself.
#include "service_home.h"

#include "service_business/profile_manager.h"

#include <chrono>
#include <thread>

using namespace service_business;
using namespace std::chrono_literals;

namespace {

using ProfileRealClock = test_support::ServiceHomeTest;

TEST_F(ProfileRealClock, MarkedProfileCannotBeRemovedAfter4SecondsButCanAfter6)
{
    const int id = addProfile(QStringLiteral("Noodle Bar"));
    ASSERT_GT(id, 0);
    ProfileManager::profile(id)->setIsUsing(true);

    std::this_thread::sleep_for(4s);
    EXPECT_FALSE(ProfileManager::removeProfile(id));
    std::this_thread::sleep_for(2s);
    EXPECT_TRUE(ProfileManager::removeProfile(id));
}

}  // namespace
