// A process that keeps saving settings (crash_writer) is killed (SIGKILL) at random moments, over and over.
// After every kill each file must parse and hold either the last value a save reported done or the one
// being saved.
#include "store_fixture.h"

#include "service_business/json_db.h"
#include "service_business/json_db_updater.h"

#include "utility_business/json_document.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

#include <map>
#include <memory>
#include <vector>

using namespace utility_business;
using service_business::json_db::JsonDB;

namespace {

constexpr int kKills = 200;
quint32 randomBelow(quint32 bound) { return QRandomGenerator::global()->bounded(bound); }

class CrashSafety : public test_support::StoreHomeTest {
protected:
    void SetUp() override
    {
        StoreHomeTest::SetUp();
        writeFactoryFiles();
        ASSERT_EQ(JsonDB::updater()->addProfile(ProfileInfo()), 1);
    }
    // The values on disk by kind ('W' window x, 'E' env "counter", 'S' sn); false when a file does not parse.
    bool readValues(std::map<char, int>& values) const
    {
        JsonDocument doc[5];
        const char* files[] = {"Profiles/1/Settings-Runtime.json", "Settings-Env.json", "Settings-App.json",
                               "Profiles/1/Settings-Local.json", "Settings-Basis.json"};
        for (int i = 0; i < 5; ++i)
            if (!doc[i].fromFile(appdataPath(files[i]))) return false;
        values = {{'W', doc[0].getInt({"window_info", "x"}, -1)}, {'E', doc[1].getString({"counter"}).toInt()},
                  {'S', doc[2].getString({"sn"}).toInt()}};
        return true;
    }
};

TEST_F(CrashSafety, FilesHoldTheLastDoneOrTheNextValueAfterEveryKill)
{
    service_business::json_db::resetJsonDBForTests();
    std::map<char, int> known{{'W', 620}, {'E', 0}, {'S', 0}};  // a new window starts at x = 620
    int savesSeen = 0;
    for (int run = 0; run < kKills && !HasFailure(); ++run) {
        QProcess writer;
        writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        writer.start(QStringLiteral(SB_CRASH_WRITER), QStringList());
        ASSERT_TRUE(writer.waitForStarted(5000));
        QByteArray output;
        if (run % 10 == 0) {
            QThread::usleep(randomBelow(20000));  // every tenth run dies during its start-up
        } else {
            // Let it report "ready" and up to five saves, then kill it somewhere within the time the last one took.
            const int linesToSee = 1 + randomBelow(6);
            QElapsedTimer clock;
            clock.start();
            qint64 lastLineAt = 0, interval = 5;
            for (int lines = 0; lines < linesToSee && writer.waitForReadyRead(5000);) {
                for (; writer.canReadLine(); ++lines, lastLineAt = clock.elapsed()) {
                    output += writer.readLine();
                    interval = std::max<qint64>(1, clock.elapsed() - lastLineAt);
                }
            }
            QThread::usleep(randomBelow(quint32(interval * 1000)));
        }
        writer.kill();
        ASSERT_TRUE(writer.waitForFinished(5000));
        ASSERT_EQ(writer.exitStatus(), QProcess::CrashExit) << "run " << run << ": the writer stopped by itself";
        output += writer.readAllStandardOutput();

        // "ready <start>", then "<kind> <n>" for each save reported done.
        bool ready = false;
        int start = 0;
        std::map<char, int> lastDone;
        for (const QByteArray& line : output.split('\n')) {
            if (line.startsWith("ready ")) ready = true, start = line.mid(6).toInt();
            else if (line.size() > 2 && line[1] == ' ') lastDone[line[0]] = line.mid(2).toInt();
        }
        std::map<char, int> onDisk;
        ASSERT_TRUE(readValues(onDisk)) << "run " << run << ": a settings file does not parse";
        for (char kind : {'W', 'E', 'S'}) {
            const bool done = lastDone.count(kind);
            const int last = done ? lastDone[kind] : known[kind];
            // Before "ready" nothing was saved; after it, also the value being saved when it died may be there.
            const int next = !ready ? last : done ? last + 1 : start + 1;
            EXPECT_TRUE(onDisk[kind] == last || onDisk[kind] == next)
                << "run " << run << ", file " << kind << ": " << onDisk[kind] << " on disk, last done " << last;
            if (done) savesSeen += last - start;
            known[kind] = onDisk[kind];
        }
    }
    EXPECT_GE(savesSeen, kKills) << "the kills should land among saves, not only before them";

    // The next start-up removes what killed saves left behind.
    JsonDB::db();
    for (const QString dir : {"", "Profiles/1"})
        EXPECT_EQ(QDir(appdataPath(dir)).entryList({".*.tmp-*"}, QDir::Files | QDir::Hidden), QStringList()) << dir.toStdString();
}

// Each start-up of the store clears what killed saves left behind; a save under way in another process must
// survive it. (The lock that makes a start-up leave a save alone is tested on its own; this is the load on
// real files.)
TEST_F(CrashSafety, StartUpsOfOtherProcessesLoseNoSave)
{
    QProcess writer;
    writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    writer.start(QStringLiteral(SB_CRASH_WRITER), {QStringLiteral("3000")});
    ASSERT_TRUE(writer.waitForReadyRead(5000));
    std::vector<std::unique_ptr<QProcess>> starters;
    for (int i = 0; i < 150; ++i) {
        starters.push_back(std::make_unique<QProcess>());
        starters.back()->start(QStringLiteral(SB_CRASH_WRITER), {QStringLiteral("0")});
    }
    for (auto& starter : starters) {
        ASSERT_TRUE(starter->waitForFinished(60000));
        EXPECT_EQ(starter->exitCode(), 0);
    }
    ASSERT_TRUE(writer.waitForFinished(120000));
    const QByteArray output = writer.readAllStandardOutput();
    EXPECT_EQ(writer.exitCode(), 0);
    EXPECT_EQ(output.count("lost"), 0) << output.toStdString();
    EXPECT_EQ(output.count('\n'), 3001);
}

}  // namespace
