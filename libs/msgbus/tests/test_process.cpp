// Finding the client's shop windows among the machine's processes.

#include "utility_business/process.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <sys/prctl.h>

namespace {

using utility_business::process::hasKelmoAppRunning;

class AppProcesses : public ::testing::Test {
protected:
    void TearDown() override { qunsetenv("SERVICE_BUSINESS_APP_PROCESSES"); }
    QTemporaryDir m_dir;
};

// A long name is matched on the first fifteen characters, all the kernel keeps (it names a process after the
// file it executed).
TEST_F(AppProcesses, FindsAConfiguredProgramOnlyWhileItRuns)
{
    const QString name = QStringLiteral("shop-window-%1-long").arg(QCoreApplication::applicationPid());
    qputenv("SERVICE_BUSINESS_APP_PROCESSES", ("other-window, " + name).toUtf8());
    EXPECT_FALSE(hasKelmoAppRunning());

    QFile::link(QStringLiteral("/bin/sleep"), m_dir.filePath(name));
    QProcess window;
    window.start(m_dir.filePath(name), {QStringLiteral("30")});
    ASSERT_TRUE(window.waitForStarted());
    EXPECT_TRUE(hasKelmoAppRunning());

    window.kill();
    window.waitForFinished();  // reaps it, so it is gone, not a zombie
    EXPECT_FALSE(hasKelmoAppRunning());
}

// A shop window that asks must not find itself. A name of its own keeps parallel test runs apart.
TEST_F(AppProcesses, NeverCountsTheCallingProcess)
{
    char previous[16] = {};
    ::prctl(PR_GET_NAME, previous);
    const QByteArray name = "sbself" + QByteArray::number(QCoreApplication::applicationPid());
    ::prctl(PR_SET_NAME, name.constData());
    qputenv("SERVICE_BUSINESS_APP_PROCESSES", name);
    EXPECT_FALSE(hasKelmoAppRunning());
    ::prctl(PR_SET_NAME, previous);
}

}  // namespace
