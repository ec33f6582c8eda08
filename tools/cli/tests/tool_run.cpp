#include "tool_run.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

namespace cli_test {

void ToolTest::SetUp()
{
    ASSERT_TRUE(m_home.isValid());
}

void ToolTest::TearDown()
{
    for (const auto& process : m_background) {
        if (process->state() == QProcess::NotRunning)
            continue;
        process->kill();
        process->waitForFinished(5000);
    }
}

QProcessEnvironment ToolTest::environment(const QMap<QString, QString>& env) const
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("SERVICE_BUSINESS_HOME"), m_home.path());
    environment.insert(QStringLiteral("TZ"), QStringLiteral("Asia/Shanghai"));
    for (auto it = env.cbegin(); it != env.cend(); ++it)
        environment.insert(it.key(), it.value());
    return environment;
}

ToolRun ToolTest::run(const QStringList& args, const QMap<QString, QString>& env, int timeoutMs) const
{
    QProcess tool;
    tool.setProcessEnvironment(environment(env));
    tool.start(QStringLiteral(SBTOOL), args);
    ToolRun result;
    if (!tool.waitForStarted(10000))
        return result;
    result.exitCode = exitCodeOf(tool, timeoutMs);
    result.out = tool.readAllStandardOutput();
    result.err = tool.readAllStandardError();
    return result;
}

QProcess* ToolTest::start(const QStringList& args, const QMap<QString, QString>& env)
{
    return startProgram(QStringLiteral(SBTOOL), args, env);
}

QProcess* ToolTest::startProgram(const QString& program, const QStringList& args, const QMap<QString, QString>& env)
{
    m_background.push_back(std::make_unique<QProcess>());
    QProcess* process = m_background.back().get();
    process->setProcessEnvironment(environment(env));
    process->start(program, args);
    return process->waitForStarted(10000) ? process : nullptr;
}

QByteArray nextLine(QProcess& process, QProcess::ProcessChannel channel, int timeoutMs)
{
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

int exitCodeOf(QProcess& process, int timeoutMs)
{
    if (!process.waitForFinished(timeoutMs)) {
        process.kill();
        process.waitForFinished(5000);
        return -1;
    }
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

QString ToolTest::homePath(const QString& relative) const
{
    return m_home.filePath(relative);
}

QString ToolTest::dataPath(const QString& relative) const
{
    return m_home.filePath(QStringLiteral("data/") + relative);
}

::testing::AssertionResult failsWith(const ToolRun& run, int exitCode, const QString& line)
{
    const QByteArray expected = line.toUtf8() + '\n';
    if (run.exitCode == exitCode && run.err == expected)
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "expected exit code " << exitCode << " and stderr \""
                                         << expected.constData() << "\", got " << run.exitCode << " and \""
                                         << run.err.constData() << "\"";
}

::testing::AssertionResult usageError(const ToolRun& run, const QString& command, const QString& message)
{
    return failsWith(run, 2, QStringLiteral("sbtool: %1 (see \"sbtool %2 --help\")").arg(message, command));
}

::testing::AssertionResult succeeds(const ToolRun& run)
{
    if (run.exitCode == 0 && run.err.isEmpty())
        return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "exit code " << run.exitCode << ", stderr: " << run.err.constData();
}

QByteArray fileBytes(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    if (!QDir().mkpath(QFileInfo(path).absolutePath()))
        return false;
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

}  // namespace cli_test
