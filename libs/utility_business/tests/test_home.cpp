// Moves the client's file tree into a temporary directory for the whole test program, so that the error
// records of failing saves go to a log there and never into the real home.
#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace {

class TestHome : public ::testing::Environment {
public:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        qputenv("SERVICE_BUSINESS_HOME", m_dir.path().toLocal8Bit());
    }

private:
    QTemporaryDir m_dir;
};

::testing::Environment* const g_home = ::testing::AddGlobalTestEnvironment(new TestHome);

}  // namespace
