#pragma once
// Runs one of our programs as a person would and keeps what it said. Every wait has a bound: a program
// that hangs counts as crashed (exit code -1) instead of stopping the suite.

#include "qt_print.h"

#include <QByteArray>
#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QString>
#include <QStringList>

namespace cli_test {

struct ToolRun {
    int exitCode = -1;  // -1 when it crashed or did not end in time
    QByteArray out;
    QByteArray err;
};

// Waits for the process to end; its exit code, -1 when it crashed or did not end in time.
inline int exitCodeOf(QProcess& process, int timeoutMs = 10000)
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
    ToolRun result;
    if (!process.waitForStarted(10000))
        return result;
    process.write(input);
    process.closeWriteChannel();
    result.exitCode = exitCodeOf(process, 60000);
    result.out = process.readAllStandardOutput();
    result.err = process.readAllStandardError();
    return result;
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
    QByteArray line = process.readLine();
    if (line.endsWith('\n'))
        line.chop(1);
    return line;
}

// What a print run said on stdout without the progress lines of a long wait ("NAME: sent as CUPS job 1,
// waiting 8 s").
inline QByteArray withoutWaits(const QByteArray& out)
{
    QByteArray kept;
    for (const QByteArray& line : out.split('\n'))
        if (!line.isEmpty() && !line.contains(", waiting "))
            kept += line + '\n';
    return kept;
}

}  // namespace cli_test
