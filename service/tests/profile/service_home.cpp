#include "service_home.h"

#include "db/json_db_p.h"
#include "profile/profile_manager_p.h"
#include "service_business/profile_manager.h"
#include "sys_info.h"

#include "utility_business/kelmo_path_info.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

namespace test_support {

namespace {
void resetService()
{
    service_business::resetProfileManagerForTests();
    service_business::json_db::resetJsonDBForTests();
}
}  // namespace

void ServiceHomeTest::SetUp()
{
    ASSERT_TRUE(m_home.isValid());
    qputenv("SERVICE_BUSINESS_HOME", QFile::encodeName(m_home.path()));
    qputenv("SERVICE_BUSINESS_RESOURCES", QFile::encodeName(QStringLiteral(SB_RESOURCES_DIR)));
    for (const char* name : {"Settings-App.json", "Settings-Basis.json", "Settings-Env.json"}) {
        QFile factory(QStringLiteral(SB_FACTORY_SETTINGS_DIR "/") + QLatin1String(name));
        ASSERT_TRUE(factory.open(QIODevice::ReadOnly)) << name;
        writeFile(appdataPath(QLatin1String(name)), QString::fromUtf8(factory.readAll()));
    }
    service_business::utility::setScreenResolutionForTesting([] { return QRect(0, 0, 1280, 720); });
    resetService();
}

void ServiceHomeTest::TearDown()
{
    resetService();
    service_business::utility::setScreenResolutionForTesting(nullptr);
    qunsetenv("SERVICE_BUSINESS_HOME");
    qunsetenv("SERVICE_BUSINESS_RESOURCES");
}

QString ServiceHomeTest::appdataPath(const QString& relative) const
{
    return utility_business::kelmoPathInfo().appdataDir() + QLatin1Char('/') + relative;
}

void ServiceHomeTest::writeFile(const QString& path, const QString& text) const
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << path.toStdString();
    const QByteArray bytes = text.toUtf8();
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QString ServiceHomeTest::readFile(const QString& path) const
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) return QString();
    return QString::fromUtf8(file.readAll());
}

int ServiceHomeTest::addProfile(const QString& username) const
{
    utility_business::ProfileInfo info;
    info.username = username;
    const auto profile = service_business::ProfileManager::addProfile(info);
    return profile ? profile->id() : -1;
}

}  // namespace test_support
