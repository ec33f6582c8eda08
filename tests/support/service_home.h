#pragma once
// A fresh home for every test: SERVICE_BUSINESS_HOME points at an empty temporary directory (a first start
// of the client), the settings store and the profile registry start empty, and the screen is a 1280 x 720
// one unless the test says otherwise. Whatever home the test program had comes back afterwards.

#include "db/json_db_p.h"
#include "profile/profile_manager_p.h"
#include "service_business/profile_manager.h"
#include "sys_info_p.h"

#include "qt_print.h"

#include "utility_business/kelmo_path_info.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QTemporaryDir>

namespace test_support {

class ServiceHomeTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_home.isValid());
        m_hadHome = qEnvironmentVariableIsSet("SERVICE_BUSINESS_HOME");
        m_previousHome = qgetenv("SERVICE_BUSINESS_HOME");
        qputenv("SERVICE_BUSINESS_HOME", QFile::encodeName(m_home.path()));
        service_business::utility::setScreenResolutionForTesting([] { return QRect(0, 0, 1280, 720); });
        resetService();
    }
    void TearDown() override
    {
        resetService();
        service_business::utility::setScreenResolutionForTesting(nullptr);
        if (m_hadHome)
            qputenv("SERVICE_BUSINESS_HOME", m_previousHome);
        else
            qunsetenv("SERVICE_BUSINESS_HOME");
    }

    // A path under the application-data directory ("Settings-App.json", "Profiles/1").
    QString appdataPath(const QString& relative) const
    {
        return utility_business::kelmoPathInfo().appdataDir() + QLatin1Char('/') + relative;
    }
    // Writes the file, creating its directory.
    void writeFile(const QString& path, const QString& text) const
    {
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).absolutePath()));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
        const QByteArray bytes = text.toUtf8();
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    // Stores and registers a profile of that user name; its id, -1 when it could not be added.
    static int addProfile(const QString& username)
    {
        utility_business::ProfileInfo info;
        info.username = username;
        const auto profile = service_business::ProfileManager::addProfile(info);
        return profile ? profile->id() : -1;
    }

    QTemporaryDir m_home;

private:
    static void resetService()
    {
        service_business::resetProfileManagerForTests();
        service_business::json_db::resetJsonDBForTests();
    }

    bool m_hadHome = false;
    QByteArray m_previousHome;
};

}  // namespace test_support
