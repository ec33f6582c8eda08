// sbtool settings: the start-up check on real files in a temporary home (what it found, what it restored,
// byte for byte), and the environment settings read and written through the store.

#include "tool_run.h"

#include <QDir>
#include <QFileInfo>

using namespace cli_test;

namespace {

QByteArray factory(const char* name)
{
    return fileBytes(QStringLiteral(SB_FACTORY_SETTINGS_DIR "/") + QLatin1String(name));
}

class SettingsCommand : public ToolTest {
protected:
    QByteArray checkReport(const QStringList& lines) const
    {
        return (QStringList{QStringLiteral("settings in ") + dataPath(QString()).chopped(1)} + lines)
                   .join(QLatin1Char('\n'))
                   .toUtf8() +
               '\n';
    }
};

TEST_F(SettingsCommand, CheckOnAnEmptyHomeRestoresTheThreeFactoryFiles)
{
    const ToolRun result = run({"settings", "check"});
    ASSERT_TRUE(succeeds(result));
    EXPECT_EQ(result.out, checkReport({"Settings-App.json: restored from the factory copy (it was missing)",
                                       "Settings-Basis.json: restored from the factory copy (it was missing)",
                                       "Settings-Env.json: restored from the factory copy (it was missing)"}));
    EXPECT_EQ(fileBytes(dataPath("Settings-App.json")), factory("Settings-App.json"));
    EXPECT_EQ(fileBytes(dataPath("Settings-Basis.json")), factory("Settings-Basis.json"));
    EXPECT_EQ(fileBytes(dataPath("Settings-Env.json")), factory("Settings-Env.json"));
}

TEST_F(SettingsCommand, CheckLeavesGoodFilesAndRestoresADamagedOneSayingHow)
{
    const QByteArray env = "{\"apiServer\": \"https://api.example\"}";
    ASSERT_TRUE(succeeds(run({"settings", "check"})));
    ASSERT_TRUE(writeFile(dataPath("Settings-Basis.json"), "{\"resources\": ["));
    ASSERT_TRUE(writeFile(dataPath("Settings-Env.json"), env));
    const ToolRun result = run({"settings", "check"});
    ASSERT_TRUE(succeeds(result));
    const QStringList kept = QDir(dataPath("")).entryList({"Settings-Basis.json.damaged-*"});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(fileBytes(dataPath(kept[0])), "{\"resources\": [");
    EXPECT_EQ(result.out, checkReport({"Settings-App.json: good",
                                       "Settings-Basis.json: restored from the factory copy (it was not valid JSON; "
                                       "kept as " + kept[0] + ")",
                                       "Settings-Env.json: good"}));
    EXPECT_EQ(fileBytes(dataPath("Settings-Basis.json")), factory("Settings-Basis.json"));
    EXPECT_EQ(fileBytes(dataPath("Settings-Env.json")), env);
}

TEST_F(SettingsCommand, RestoringTheAppFileRemovesTheProfiles)
{
    ASSERT_TRUE(succeeds(run({"settings", "check"})));
    ASSERT_TRUE(succeeds(run({"profiles", "add", "alice"})));
    ASSERT_TRUE(writeFile(dataPath("Settings-App.json"), "not json"));
    const ToolRun result = run({"settings", "check"});
    ASSERT_TRUE(succeeds(result));
    const QStringList kept = QDir(dataPath("")).entryList({"Settings-App.json.damaged-*"});
    ASSERT_EQ(kept.size(), 1);
    EXPECT_EQ(result.out, checkReport({"Settings-App.json: restored from the factory copy (it was not valid JSON; "
                                       "kept as " + kept[0] + ")",
                                       "Settings-Basis.json: good", "Settings-Env.json: good",
                                       "profiles removed: the factory Settings-App.json lists none"}));
    EXPECT_FALSE(QFileInfo::exists(dataPath("Profiles/1")));
    EXPECT_EQ(run({"profiles", "list"}).out, QByteArray());
}

TEST_F(SettingsCommand, CheckJudgesEachProfileFileAndNamesAMemberOfTheWrongShape)
{
    ASSERT_TRUE(succeeds(run({"settings", "check"})));
    ASSERT_TRUE(succeeds(run({"profiles", "add", "alice"})));
    ASSERT_TRUE(writeFile(dataPath("Profiles/1/Settings-Local.json"), "garbage"));
    ToolRun result = run({"settings", "check"});
    EXPECT_TRUE(failsWith(result, 1, "sbtool: 1 settings file(s) left damaged, named above"));
    EXPECT_EQ(result.out, checkReport({"Settings-App.json: good", "Settings-Basis.json: good", "Settings-Env.json: good",
                                       "Profiles/1/Settings-Local.json: not valid JSON; not repaired: the profile "
                                       "reads its defaults until its next save",
                                       "Profiles/1/Settings-Runtime.json: good"}));
    EXPECT_EQ(fileBytes(dataPath("Profiles/1/Settings-Local.json")), "garbage");

    ASSERT_TRUE(writeFile(dataPath("Settings-App.json"), "{\"profiles\": \"oops\"}"));
    result = run({"settings", "check"});
    EXPECT_TRUE(failsWith(result, 1, "sbtool: 1 settings file(s) left damaged, named above"));
    EXPECT_EQ(result.out.split('\n').value(1), "Settings-App.json: valid JSON, but \"profiles\" is not an object; not "
                                               "repaired: fix it, or remove it to have the factory copy restored");
    EXPECT_TRUE(failsWith(run({"settings", "env", "set", "k", "v"}), 1,
                          QStringLiteral("sbtool: %1 is valid JSON, but \"profiles\" is not an object (\"sbtool "
                                         "settings check\" cannot repair it: fix or remove it)")
                              .arg(dataPath("Settings-App.json"))));
}

TEST_F(SettingsCommand, FileThatCannotBeRestoredIsOneLine)
{
    // A directory where the file belongs: it does not load, and nothing can be saved over it.
    ASSERT_TRUE(QDir().mkpath(dataPath("Settings-App.json")));
    const ToolRun result = run({"settings", "check"});
    EXPECT_TRUE(failsWith(result, 1,
                          QStringLiteral("sbtool: cannot restore Settings-App.json (it is not a readable file) "
                                         "from the factory copy in " SB_BUILD_RESOURCES_DIR "/ostinel.rcc")));
}

TEST_F(SettingsCommand, DirectoryThatCannotBeMadeIsOneLine)
{
    ASSERT_TRUE(writeFile(homePath("data"), "a file where the directory belongs"));
    EXPECT_TRUE(failsWith(run({"settings", "check"}), 1,
                          QStringLiteral("sbtool: cannot make the settings directory %1").arg(homePath("data"))));
}

TEST_F(SettingsCommand, EnvSetIsSavedAndReadBackAsTextOrCompactJson)
{
    ASSERT_TRUE(succeeds(run({"settings", "check"})));
    ASSERT_TRUE(succeeds(run({"settings", "env", "set", "apiServer", "https://api.example"})));
    ASSERT_TRUE(succeeds(run({"settings", "env", "set", "channel", "测试"})));
    EXPECT_EQ(fileBytes(dataPath("Settings-Env.json")),
              "{\n    \"apiServer\": \"https://api.example\",\n    \"channel\": \"测试\"\n}\n");
    const ToolRun result = run({"settings", "env", "get", "channel"});
    ASSERT_TRUE(succeeds(result));
    EXPECT_EQ(result.out, "测试\n");
    // Values that are not strings show as compact JSON.
    ASSERT_TRUE(writeFile(dataPath("Settings-Env.json"), "{\"retries\": 3, \"hosts\": [\"a\", \"b\"]}"));
    EXPECT_EQ(run({"settings", "env", "get", "retries"}).out, "3\n");
    EXPECT_EQ(run({"settings", "env", "get", "hosts"}).out, "[\"a\",\"b\"]\n");
}

TEST_F(SettingsCommand, EnvRefusesMissingKeysAndDamagedSettingsAndLeavesThemAlone)
{
    EXPECT_TRUE(failsWith(run({"settings", "env", "get", "apiServer"}), 1,
                          QStringLiteral("sbtool: %1 is missing (\"sbtool settings check\" repairs it)")
                              .arg(dataPath("Settings-App.json"))));
    ASSERT_TRUE(succeeds(run({"settings", "check"})));
    EXPECT_TRUE(failsWith(run({"settings", "env", "get", "apiServer"}), 1,
                          QStringLiteral("sbtool: %1 has no setting \"apiServer\"").arg(dataPath("Settings-Env.json"))));
    ASSERT_TRUE(writeFile(dataPath("Settings-Env.json"), "{\"apiServer\": "));
    EXPECT_TRUE(failsWith(run({"settings", "env", "set", "apiServer", "x"}), 1,
                          QStringLiteral("sbtool: %1 is not valid JSON (\"sbtool settings check\" repairs it)")
                              .arg(dataPath("Settings-Env.json"))));
    EXPECT_EQ(fileBytes(dataPath("Settings-Env.json")), "{\"apiServer\": ");
}

}  // namespace
