// A process that keeps saving settings is killed (SIGKILL) at random moments, over and over. After every
// kill each file must parse and hold either the last value a save reported done or the one being saved.
#include "store_fixture.h"

#include "service_business/json_db.h"
#include "service_business/json_db_updater.h"

#include "utility_business/json_document.h"

#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

#include <algorithm>
#include <map>
#include <memory>
#include <vector>

using namespace utility_business;
using service_business::json_db::JsonDB;

namespace {

constexpr int kKills = 200;

// What one run of the writer said before it died.
struct RunReport {
    bool ready = false;
    int start = 0;
    std::map<char, int> lastDone;  // 'W', 'E', 'S' -> last value reported saved
};

RunReport parseReport(const QByteArray& output)
{
    RunReport report;
    for (const QByteArray& line : output.split('\n')) {
        if (line.startsWith("ready ")) {
            report.ready = true;
            report.start = line.mid(6).toInt();
        } else if (line.size() > 2 && line[1] == ' ') {
            report.lastDone[line[0]] = line.mid(2).toInt();
        }
    }
    return report;
}

}  // namespace

class CrashSafety : public test_support::StoreHomeTest {
protected:
    // The values on disk; each file must parse.
    bool readValues(std::map<char, int>& values) const
    {
        JsonDocument runtime, env, app, local, basis;
        if (!runtime.fromFile(appdataPath("Profiles/1/Settings-Runtime.json")) || !env.fromFile(appdataPath("Settings-Env.json")) ||
            !app.fromFile(appdataPath("Settings-App.json")) || !local.fromFile(appdataPath("Profiles/1/Settings-Local.json")) ||
            !basis.fromFile(appdataPath("Settings-Basis.json")))
            return false;
        values['W'] = runtime.getInt({"window_info", "x"}, -1);
        values['E'] = env.getString({"counter"}).toInt();
        values['S'] = app.getString({"sn"}).toInt();
        return true;
    }
};

TEST_F(CrashSafety, FilesHoldTheLastDoneOrTheNextValueAfterEveryKill)
{
    writeFactoryFiles();
    ASSERT_EQ(JsonDB::updater()->addProfile(ProfileInfo()), 1);
    service_business::json_db::resetJsonDBForTests();

    std::map<char, int> known{{'W', 620}, {'E', 0}, {'S', 0}};  // a new window starts at x = 620
    int savesSeen = 0;
    for (int run = 0; run < kKills; ++run) {
        QProcess writer;
        writer.setProgram(QStringLiteral(SB_CRASH_WRITER));
        writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        writer.start();
        ASSERT_TRUE(writer.waitForStarted(5000));
        QByteArray output;
        if (run % 10 == 0) {
            // Every tenth run dies during its start-up.
            QThread::usleep(QRandomGenerator::global()->bounded(20000));
        } else {
            // Let it report "ready" and up to five saves, then kill it at a random point of the next save:
            // somewhere within the time the last one took.
            const int linesToSee = QRandomGenerator::global()->bounded(1, 7);
            QElapsedTimer clock;
            clock.start();
            qint64 lastLineAt = 0;
            qint64 interval = 5;
            for (int lines = 0; lines < linesToSee && writer.waitForReadyRead(5000);) {
                while (writer.canReadLine()) {
                    output += writer.readLine();
                    ++lines;
                    interval = std::max<qint64>(1, clock.elapsed() - lastLineAt);
                    lastLineAt = clock.elapsed();
                }
            }
            QThread::usleep(QRandomGenerator::global()->bounded(static_cast<quint32>(interval * 1000)));
        }
        writer.kill();
        ASSERT_TRUE(writer.waitForFinished(5000));
        ASSERT_EQ(writer.exitStatus(), QProcess::CrashExit) << "run " << run << ": the writer stopped by itself";
        output += writer.readAllStandardOutput();

        const RunReport report = parseReport(output);
        std::map<char, int> onDisk;
        ASSERT_TRUE(readValues(onDisk)) << "run " << run << ": a settings file does not parse";
        for (char kind : {'W', 'E', 'S'}) {
            const auto done = report.lastDone.find(kind);
            // The last value reported done, and the one the writer was saving when it died.
            const int last = done != report.lastDone.end() ? done->second : known[kind];
            const int next = done != report.lastDone.end() ? last + 1 : report.start + 1;
            if (!report.ready) {
                EXPECT_EQ(onDisk[kind], known[kind]) << "run " << run << ", file " << kind;
            } else {
                EXPECT_TRUE(onDisk[kind] == last || onDisk[kind] == next)
                    << "run " << run << ", file " << kind << ": " << onDisk[kind] << " on disk, last done " << last;
            }
            if (done != report.lastDone.end()) savesSeen += done->second - report.start;
            known[kind] = onDisk[kind];
        }
        if (HasFailure()) return;
    }
    EXPECT_GE(savesSeen, kKills) << "the kills should land among saves, not only before them";

    // The next start-up removes what killed saves left behind.
    JsonDB::db();
    for (const QString dir : {"", "Profiles/1"})
        EXPECT_EQ(QDir(appdataPath(dir)).entryList({".*.tmp-*"}, QDir::Files | QDir::Hidden), QStringList()) << dir;
}

// Each start-up of the store clears what killed saves left behind; a save under way in another process must
// survive it.
TEST_F(CrashSafety, StartUpsOfOtherProcessesLoseNoSave)
{
    writeFactoryFiles();
    ASSERT_EQ(JsonDB::updater()->addProfile(ProfileInfo()), 1);

    QProcess writer;
    writer.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    writer.start(QStringLiteral(SB_CRASH_WRITER), {QStringLiteral("3000")});
    ASSERT_TRUE(writer.waitForReadyRead(5000));
    // The lock that makes a start-up leave a save alone is tested on its own; this is the load on real files.
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
