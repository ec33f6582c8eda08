#pragma once
// Runs one of our programs as a person would and keeps what it said. Every wait has a bound: a program
// that hangs counts as crashed (exit code -1) instead of stopping the suite.

#include "qt_print.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>

namespace cli_test {

struct ToolRun {
    int exitCode = -1;  // -1 when it crashed or did not end in time
    QByteArray out;
    QByteArray err;
};

// Waits for the process to end; its exit code, -1 when it crashed or did not end in time (it is killed).
inline int exitCodeOf(QProcess& process, int timeoutMs = 20000)
{
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(5000);
        return -1;
    }
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

// The program with the arguments, in `env` (the test's own environment by default), given `input` on stdin,
// in the directory `cwd` (the test's own when empty).
inline ToolRun runProgram(const QString& program, const QStringList& args,
                          const QProcessEnvironment& env = QProcessEnvironment::systemEnvironment(),
                          const QByteArray& input = QByteArray(), const QString& cwd = QString())
{
    QProcess process;
    process.setProcessEnvironment(env);
    process.setWorkingDirectory(cwd);
    process.start(program, args);
    process.write(input);
    process.closeWriteChannel();
    const int exitCode = exitCodeOf(process, 60000);
    return {exitCode, process.readAllStandardOutput(), process.readAllStandardError()};
}

// The next line the process writes on the channel, without its line break; empty when none comes in time.
inline QByteArray nextLine(QProcess& process, QProcess::ProcessChannel channel, int timeoutMs = 20000)
{
    process.waitForStarted(10000);
    process.setReadChannel(channel);
    QElapsedTimer timer;
    timer.start();
    while (!process.canReadLine() && timer.elapsed() < timeoutMs && process.state() == QProcess::Running)
        process.waitForReadyRead(100);
    return process.readLine().replace('\n', QByteArray());
}

// A print run's stdout without the progress lines of a long wait ("NAME: sent as CUPS job 1, waiting 8 s").
inline QByteArray withoutWaits(const QByteArray& out)
{
    return QString::fromUtf8(out).remove(QRegularExpression(QStringLiteral(".*, waiting .*\n"))).toUtf8();
}

// The whole file; "<missing>" when it cannot be read.
inline QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

// Writes the file, making its directory; false when it cannot.
inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return QDir().mkpath(QFileInfo(path).absolutePath()) && file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

}  // namespace cli_test
