// The registry of profiles: loaded from the store, changed only after the store changed, and never left
// holding a profile the store lost or the other way round.
#include "service_home.h"

#include "json_document_p.h"

#include "profile/profile_p.h"
#include "service_business/json_db.h"
#include "service_business/json_db_browser.h"
#include "service_business/profile_manager.h"

#include "utility_business/json_document.h"
#include "utility_business/kelmo_path_info.h"
#include "utility_business/log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <unistd.h>

using namespace service_business;
using namespace utility_business;
using service_business::json_db::JsonDB;

namespace {

ssize_t failingWrite(int, const void*, size_t)
{
    errno = ENOSPC;
    return -1;
}
const json_save::FileOps kFullDisk = {failingWrite, ::fsync};

ProfileInfo account(const QString& username, const QString& ksid = QString())
{
    return ProfileInfo::fromJson(QStringLiteral(R"({"username": "%1", "ksid": "%2"})").arg(username, ksid));
}

QList<int> registeredIds()
{
    QList<int> ids;
    for (const auto& profile : ProfileManager::profileList()) ids << profile->id();
    return ids;
}

class ProfileRegistry : public test_support::ServiceHomeTest {
protected:
    void TearDown() override
    {
        json_save::setFileOpsForTesting(nullptr);
        profile_internal::setRemoveDirectoryForTesting(nullptr);
        ServiceHomeTest::TearDown();
    }

    // The App file's profiles as saved on disk.
    QStringList savedProfileIds() const
    {
        const QString path = appdataPath(QStringLiteral("Settings-App.json"));
        if (!QFileInfo::exists(path)) return {};
        JsonDocument app;
        if (!app.fromFile(path)) return {QStringLiteral("<unreadable>")};
        return app.childrenNames({QStringLiteral("profiles")});
    }
    void makeLeftoverCache(int id) const
    {
        writeFile(kelmoPathInfo().cefcacheDir(id) + QStringLiteral("/Cache/data_0"), QStringLiteral("stale"));
    }
};

TEST_F(ProfileRegistry, LoadsTheStoredProfilesInIdOrderAndNoneOfTheMarkers)
{
    writeFile(appdataPath(QStringLiteral("Settings-App.json")),
              QStringLiteral(R"({"profiles": {"3": {"username": "c"}, "1": {"username": "a"}, "-2": {}, "x": {}}})"));
    for (const auto& [id, name] : {std::pair<int, const char*>{3, "Congee House"}, {1, "Noodle Bar"}})
        writeFile(appdataPath(QStringLiteral("Profiles/%1/Settings-Local.json").arg(id)),
                  QStringLiteral(R"({"username": "%1"})").arg(QLatin1String(name)));

    EXPECT_EQ(registeredIds(), (QList<int>{1, 3})) << "members that are no positive id are no profile";
    EXPECT_EQ(ProfileManager::profile(3)->name(), QStringLiteral("Congee House"));
    for (int marker : {ProfileManager::INDEX_NONE, ProfileManager::INDEX_DEFAULT, 0}) {
        EXPECT_FALSE(ProfileManager::profile(marker)) << marker;
        EXPECT_FALSE(ProfileManager::profileExist(marker)) << marker;
        EXPECT_FALSE(ProfileManager::removeProfile(marker)) << marker;
    }
    EXPECT_EQ(registeredIds(), (QList<int>{1, 3}));
}

// The window written for a new profile is the default one for the 1280 x 720 screen, and a browser cache
// left at its id is not inherited.
TEST_F(ProfileRegistry, AddedProfileIsStoredWithDefaultsAndRegistered)
{
    EXPECT_TRUE(ProfileManager::isEmpty());
    makeLeftoverCache(2);
    const auto first = ProfileManager::addProfile(account(QStringLiteral("Noodle Bar")));
    const auto second = ProfileManager::addProfile(account(QStringLiteral("Congee House")));
    ASSERT_TRUE(first && second);
    EXPECT_EQ(second->name(), QStringLiteral("Congee House"));
    EXPECT_EQ(ProfileManager::profile(2), second);
    EXPECT_EQ(registeredIds(), (QList<int>{1, 2}));
    EXPECT_EQ(savedProfileIds(), (QStringList{QStringLiteral("1"), QStringLiteral("2")}));
    EXPECT_EQ(second->windowInfo().toJson(), (WindowInfo{false, 100, 136, 27, 1008, 665}.toJson()));
    EXPECT_FALSE(QFileInfo::exists(kelmoPathInfo().cefcacheDir(2)));
}

TEST_F(ProfileRegistry, AddWhenTheStoreFailsGivesNullAndLogsTheAccount)
{
    JsonDB::db();
    json_save::setFileOpsForTesting(&kFullDisk);
    log::Capture capture;

    EXPECT_FALSE(ProfileManager::addProfile(account(QStringLiteral("Noodle Bar"), QStringLiteral("KS-77"))));

    EXPECT_TRUE(capture.contains("error", "addProfile failed: user_name:Noodle Bar, ksid:KS-77"));
    EXPECT_TRUE(ProfileManager::isEmpty());
    EXPECT_TRUE(JsonDB::browser()->profilesMap().isEmpty());
    EXPECT_TRUE(savedProfileIds().isEmpty());
}

TEST_F(ProfileRegistry, FailedCacheCleanUpLeavesNeitherStoreNorRegistryEntry)
{
    makeLeftoverCache(1);
    profile_internal::setRemoveDirectoryForTesting([](const QString&) { return false; });
    log::Capture capture;

    EXPECT_FALSE(ProfileManager::addProfile(account(QStringLiteral("Noodle Bar"))));

    EXPECT_TRUE(capture.containsText("clean invalid cache dir failed"));
    EXPECT_FALSE(ProfileManager::profileExist(1));
    EXPECT_TRUE(JsonDB::browser()->profilesMap().isEmpty());
    EXPECT_TRUE(savedProfileIds().isEmpty());
}

TEST_F(ProfileRegistry, RemovalDeletesStoreEntryCacheAndDirectory)
{
    const auto profile = ProfileManager::addProfile(account(QStringLiteral("Noodle Bar")));
    ASSERT_TRUE(profile);
    const QString cache = profile->cefCachePath();
    ASSERT_TRUE(QFileInfo(appdataPath(QStringLiteral("Profiles/1/Settings-Local.json"))).isFile());

    EXPECT_TRUE(ProfileManager::removeProfile(1));
    EXPECT_FALSE(ProfileManager::profile(1));
    EXPECT_TRUE(ProfileManager::isEmpty());
    EXPECT_TRUE(savedProfileIds().isEmpty());
    EXPECT_FALSE(QFileInfo::exists(cache));
    EXPECT_FALSE(QFileInfo::exists(appdataPath(QStringLiteral("Profiles/1"))));
    EXPECT_FALSE(ProfileManager::removeProfile(1)) << "gone already";
}

TEST_F(ProfileRegistry, RemovalTheStoreRefusesKeepsTheProfileRegistered)
{
    const auto profile = ProfileManager::addProfile(account(QStringLiteral("Noodle Bar")));
    ASSERT_TRUE(profile);
    const QString cache = profile->cefCachePath();
    json_save::setFileOpsForTesting(&kFullDisk);

    EXPECT_FALSE(ProfileManager::removeProfile(1));
    EXPECT_TRUE(ProfileManager::profileExist(1));
    EXPECT_TRUE(QFileInfo::exists(cache));
    EXPECT_TRUE(QFileInfo::exists(appdataPath(QStringLiteral("Profiles/1/Settings-Local.json"))));
    EXPECT_EQ(savedProfileIds(), QStringList{QStringLiteral("1")});
}

}  // namespace
