// Finding the client's shop windows among the machine's processes.

#include "utility_business/process.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdlib>

#include <sys/prctl.h>

namespace {

using utility_business::process::hasKelmoAppRunning;

// Runs "sleep" under a name of the test's choosing (the kernel names a process after the file it executed).
class NamedProcess {
public:
    NamedProcess(const QTemporaryDir& dir, const QString& name)
    {
        const QString path = dir.filePath(name);
        QFile::link(QStringLiteral("/bin/sleep"), path);
        m_process.start(path, {QStringLiteral("30")});
        m_process.waitForStarted();
    }
    ~NamedProcess() { stop(); }
    void stop()
    {
        m_process.kill();
        m_process.waitForFinished();  // reaps it, so it is gone, not a zombie
    }
    bool running() const { return m_process.state() == QProcess::Running; }

private:
    QProcess m_process;
};

class AppProcesses : public ::testing::Test {
protected:
    void TearDown() override { ::unsetenv("SERVICE_BUSINESS_APP_PROCESSES"); }
    QTemporaryDir m_dir;
};

// A long name is matched on the first fifteen characters, all the kernel keeps.
TEST_F(AppProcesses, FindsAConfiguredProgramOnlyWhileItRuns)
{
    const QString name = QStringLiteral("shop-window-%1-long").arg(QCoreApplication::applicationPid());
    ::setenv("SERVICE_BUSINESS_APP_PROCESSES", ("other-window, " + name).toUtf8().constData(), 1);
    EXPECT_FALSE(hasKelmoAppRunning());

    NamedProcess window(m_dir, name);
    ASSERT_TRUE(window.running());
    EXPECT_TRUE(hasKelmoAppRunning());

    window.stop();
    EXPECT_FALSE(hasKelmoAppRunning());
}

TEST_F(AppProcesses, NeverCountsTheCallingProcess)
{
    // A shop window that asks must not find itself. A name of its own keeps parallel test runs apart.
    char previous[16] = {};
    ::prctl(PR_GET_NAME, previous);
    const QByteArray name = QByteArray("sbself") + QByteArray::number(QCoreApplication::applicationPid());
    ::prctl(PR_SET_NAME, name.constData());
    ::setenv("SERVICE_BUSINESS_APP_PROCESSES", name.constData(), 1);
    EXPECT_FALSE(hasKelmoAppRunning());
    ::prctl(PR_SET_NAME, previous);
}

}  // namespace
