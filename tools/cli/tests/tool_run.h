#pragma once
// Runs the built sbtool as a person would, in a home of the test's own (SERVICE_BUSINESS_HOME pointed at a
// fresh temporary directory, so nothing touches the real settings), and keeps what it said.

#include <gtest/gtest.h>

#include <QByteArray>
#include <QMap>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

namespace cli_test {

struct ToolRun {
    int exitCode = -1;  // -1 when it crashed or did not end in time
    QByteArray out;
    QByteArray err;
};

class ToolTest : public ::testing::Test {
protected:
    void SetUp() override;
    // Kills what start() started and is still running.
    void TearDown() override;

    // sbtool with the arguments, in the test's environment plus SERVICE_BUSINESS_HOME and `env`.
    ToolRun run(const QStringList& args, const QMap<QString, QString>& env = {}, int timeoutMs = 60000) const;
    // The same, started in the background; null when it did not start.
    QProcess* start(const QStringList& args, const QMap<QString, QString>& env = {});
    // A program of ours other than sbtool, started in the background like start().
    QProcess* startProgram(const QString& program, const QStringList& args, const QMap<QString, QString>& env = {});
    // Paths below the home, and below its application-data directory ("data").
    QString homePath(const QString& relative) const;
    QString dataPath(const QString& relative) const;

    QTemporaryDir m_home;

private:
    QProcessEnvironment environment(const QMap<QString, QString>& env) const;
    std::vector<std::unique_ptr<QProcess>> m_background;
};

// The next line the process writes on the channel, without its line break; empty when none comes in time.
QByteArray nextLine(QProcess& process, QProcess::ProcessChannel channel, int timeoutMs = 10000);
// Waits for the process to end; its exit code, -1 when it crashed or did not end in time.
int exitCodeOf(QProcess& process, int timeoutMs = 10000);

// The failure contract of every command: the exit code and exactly this one line on stderr.
::testing::AssertionResult failsWith(const ToolRun& run, int exitCode, const QString& line);
// A usage error: exit code 2 and one line "sbtool: MESSAGE (see "sbtool COMMAND --help")".
::testing::AssertionResult usageError(const ToolRun& run, const QString& command, const QString& message);
// Exit code 0 and nothing on stderr.
::testing::AssertionResult succeeds(const ToolRun& run);

// The whole file; "<missing>" when it cannot be read.
QByteArray fileBytes(const QString& path);
// Writes the file, making its directory; false when it cannot.
bool writeFile(const QString& path, const QByteArray& bytes);

}  // namespace cli_test
