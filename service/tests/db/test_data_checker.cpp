// The start-up integrity pass: which files it repairs, from where, and what it leaves alone.
#include "store_fixture.h"

#include "db/json_db_p.h"
#include "service_business/data_checker.h"

#include <QDir>
#include <QFile>

namespace dc = service_business::data_manage::data_checker;

namespace {
// SHA-1 of the three bytes "abc".
const char* const kSha1OfAbc = "a9993e364706816aba3e25717850c26c9cd0d89d";

const char* const kAppWithProfile1 =
    "{\n    \"profiles\": {\n        \"1\": {\n            \"username\": \"alice\"\n        }\n    }\n}\n";
}  // namespace

using DataChecker = StoreTest;

TEST_F(DataChecker, RestoresMissingOrUnparsableAppFileFromPackageKeepingTheLastThreeDamagedAndDropsProfiles)
{
    const QStringList broken = {QString(), "{\"profiles\": {\"1\": ", "[", "{,}", "nul"};
    for (int i = 0; i < broken.size(); ++i) {
        service_business::json_db::resetJsonDBForTests();
        writeFactoryFiles();
        if (broken[i].isNull())
            QFile::remove(appdataPath(QStringLiteral("Settings-App.json")));
        else
            writeFile(QStringLiteral("Settings-App.json"), broken[i]);
        writeProfile(1, QStringLiteral("alice"));

        EXPECT_TRUE(dc::checkSettings());

        EXPECT_EQ(readFile(QStringLiteral("Settings-App.json")), factoryText(QStringLiteral("Settings-App.json")));
        EXPECT_FALSE(exists(QStringLiteral("Profiles"))) << broken[i].toStdString();
        QStringList kept;
        for (const QString& name : QDir(appdataPath(QString())).entryList({"Settings-App.json.damaged-*"}, QDir::Files, QDir::Name))
            kept << readFile(name);
        EXPECT_EQ(kept, broken.mid(std::max(1, i - 2), std::min(i, 3)));
    }
}

TEST_F(DataChecker, CreatesAllThreeFilesOnANewInstallation)
{
    ASSERT_TRUE(QDir(appdataPath(QString())).removeRecursively());

    EXPECT_TRUE(dc::checkSettings());

    for (const QString name : {"Settings-App.json", "Settings-Basis.json", "Settings-Env.json"})
        EXPECT_EQ(readFile(name), factoryText(name)) << name.toStdString();
}

TEST_F(DataChecker, LeavesGoodFilesAndBrokenProfilesUntouched)
{
    writeFactoryFiles();
    writeFile(QStringLiteral("Settings-App.json"), QLatin1String(kAppWithProfile1));
    writeFile(QStringLiteral("Settings-Env.json"), QStringLiteral("{\"kept\":   \"as written\"}"));
    writeFile(QStringLiteral("Profiles/1/Settings-Local.json"), QStringLiteral("{\"username\": \"alice\"}"));
    // Settings-Runtime.json of profile 1 is missing: the profile is not repaired here.

    EXPECT_TRUE(dc::checkSettings());

    EXPECT_EQ(readFile(QStringLiteral("Settings-App.json")), QLatin1String(kAppWithProfile1));
    EXPECT_EQ(readFile(QStringLiteral("Settings-Env.json")), QStringLiteral("{\"kept\":   \"as written\"}"));
    EXPECT_EQ(readFile(QStringLiteral("Profiles/1/Settings-Local.json")), QStringLiteral("{\"username\": \"alice\"}"));
    EXPECT_FALSE(exists(QStringLiteral("Profiles/1/Settings-Runtime.json")));
}

TEST_F(DataChecker, RecordsHashesOfPresentResourceFilesWhenRestoringBasis)
{
    usePackageDir(QStringLiteral(SB_TEST_PACKAGE_DIR));
    writeFactoryFiles();
    QFile::remove(appdataPath(QStringLiteral("Settings-Basis.json")));
    writeFile(QStringLiteral("resources/tones/present.wav"), QStringLiteral("abc"));

    EXPECT_TRUE(dc::checkSettings());

    EXPECT_EQ(readFile(QStringLiteral("Settings-Basis.json")),
              QStringLiteral("{\n"
                             "    \"version\": \"2.0.0\",\n"
                             "    \"resources\": [\n"
                             "        {\n"
                             "            \"filename\": \"tones/present.wav\",\n"
                             "            \"sha1\": \"%1\"\n"
                             "        },\n"
                             "        {\n"
                             "            \"filename\": \"fonts/missing.ttf\",\n"
                             "            \"sha1\": \"packaged-sha1-of-missing\"\n"
                             "        }\n"
                             "    ],\n"
                             "    \"tones\": []\n"
                             "}\n")
                  .arg(QLatin1String(kSha1OfAbc)));
}

TEST_F(DataChecker, FailsAndWritesNothingWhenThePackageLacksTheFile)
{
    usePackageDir(QStringLiteral(SB_TEST_PACKAGE_DIR));  // holds only a basis file
    writeFactoryFiles();
    QFile::remove(appdataPath(QStringLiteral("Settings-App.json")));
    writeProfile(1, QStringLiteral("alice"));

    EXPECT_FALSE(dc::checkSettings());

    EXPECT_FALSE(exists(QStringLiteral("Settings-App.json")));
    EXPECT_TRUE(exists(QStringLiteral("Profiles/1/Settings-Local.json")));
}

TEST_F(DataChecker, AcceptsResourceFilesOnlyWhenAllArePresentWithTheirHash)
{
    writeFactoryFiles();  // lists no resources
    EXPECT_TRUE(dc::checkResourceFiles());

    service_business::json_db::resetJsonDBForTests();
    writeFile(QStringLiteral("Settings-Basis.json"),
              QStringLiteral("{\"resources\": [{\"filename\": \"a.bin\", \"sha1\": \"%1\"},"
                             " {\"filename\": \"b.bin\", \"sha1\": \"%1\"}]}")
                  .arg(QLatin1String(kSha1OfAbc)));
    writeFile(QStringLiteral("resources/a.bin"), QStringLiteral("abc"));
    EXPECT_FALSE(dc::checkResourceFiles()) << "b.bin is missing";

    writeFile(QStringLiteral("resources/b.bin"), QStringLiteral("abd"));
    EXPECT_FALSE(dc::checkResourceFiles()) << "b.bin has another hash";

    writeFile(QStringLiteral("resources/b.bin"), QStringLiteral("abc"));
    EXPECT_TRUE(dc::checkResourceFiles());
}
