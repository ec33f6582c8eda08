#include "temp_home.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

namespace test_support {

namespace {

class TempHome : public ::testing::Environment {
public:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        qputenv("SERVICE_BUSINESS_HOME", QFile::encodeName(m_dir.path()));
    }
    void TearDown() override { qunsetenv("SERVICE_BUSINESS_HOME"); }

    QTemporaryDir m_dir;
};

TempHome* const g_home = static_cast<TempHome*>(::testing::AddGlobalTestEnvironment(new TempHome));

}  // namespace

QString homeDir()
{
    return g_home->m_dir.path();
}

}  // namespace test_support
