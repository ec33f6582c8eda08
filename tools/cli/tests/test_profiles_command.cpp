// sbtool profiles: shop accounts added, listed and removed through the profile registry, on real files.

#include "tool_run.h"

#include <QFileInfo>

using namespace cli_test;

namespace {

class ProfilesCommand : public ToolTest {
protected:
    void SetUp() override
    {
        ToolTest::SetUp();
        ASSERT_TRUE(succeeds(run({"settings", "check"})));
    }
};

TEST_F(ProfilesCommand, AddListRemoveRoundTrip)
{
    const QByteArray factoryApp = fileBytes(dataPath("Settings-App.json"));
    ToolRun added = run({"profiles", "add", "alice", "--ksid", "k-100"});
    ASSERT_TRUE(succeeds(added));
    EXPECT_EQ(added.out, "1\n");
    added = run({"profiles", "add", "小王"});
    ASSERT_TRUE(succeeds(added));
    EXPECT_EQ(added.out, "2\n");

    EXPECT_EQ(run({"profiles", "list"}).out, "1\talice\tk-100\n2\t小王\t\n");
    EXPECT_TRUE(fileBytes(dataPath("Settings-App.json")).contains("\"1\": {\n            \"username\": \"alice\"\n"));
    for (const char* file : {"Profiles/1/Settings-Local.json", "Profiles/1/Settings-Runtime.json",
                             "Profiles/2/Settings-Local.json", "Profiles/2/Settings-Runtime.json"})
        EXPECT_TRUE(QFileInfo(dataPath(file)).isFile()) << file;

    ASSERT_TRUE(succeeds(run({"profiles", "remove", "1"})));
    EXPECT_EQ(run({"profiles", "list"}).out, "2\t小王\t\n");
    EXPECT_FALSE(QFileInfo::exists(dataPath("Profiles/1")));
    ASSERT_TRUE(succeeds(run({"profiles", "remove", "2"})));
    EXPECT_EQ(run({"profiles", "list"}).out, "");
    // Nothing of the two profiles is left in the App file.
    EXPECT_EQ(fileBytes(dataPath("Settings-App.json")), factoryApp);
}

TEST_F(ProfilesCommand, FreedIdIsGivenToTheNextProfile)
{
    ASSERT_TRUE(succeeds(run({"profiles", "add", "alice"})));
    ASSERT_TRUE(succeeds(run({"profiles", "add", "bob"})));
    ASSERT_TRUE(succeeds(run({"profiles", "remove", "1"})));
    EXPECT_EQ(run({"profiles", "add", "carol"}).out, "1\n");
    EXPECT_EQ(run({"profiles", "list"}).out, "1\tcarol\t\n2\tbob\t\n");
}

TEST_F(ProfilesCommand, UnknownProfileOrDamagedSettingsAreOneLineAndLeaveTheFilesAlone)
{
    EXPECT_TRUE(failsWith(run({"profiles", "remove", "7"}), 1, "sbtool: no profile 7 (see \"sbtool profiles list\")"));
    ASSERT_TRUE(writeFile(dataPath("Settings-App.json"), "{\"profiles\": {"));
    EXPECT_TRUE(failsWith(run({"profiles", "add", "alice"}), 1,
                          QStringLiteral("sbtool: %1 is not valid JSON (\"sbtool settings check\" repairs it)")
                              .arg(dataPath("Settings-App.json"))));
    EXPECT_EQ(fileBytes(dataPath("Settings-App.json")), "{\"profiles\": {");
    EXPECT_FALSE(QFileInfo::exists(dataPath("Profiles/1")));
}

}  // namespace
