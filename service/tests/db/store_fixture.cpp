#include "store_fixture.h"

#include "db/json_db_p.h"

#include "utility_business/kelmo_path_info.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

void StoreTest::SetUp()
{
    ASSERT_TRUE(m_home.isValid());
    qputenv("SERVICE_BUSINESS_HOME", QFile::encodeName(m_home.path()));
    usePackageDir(QStringLiteral(SB_FACTORY_PACKAGE_DIR));
    ASSERT_TRUE(QDir().mkpath(utility_business::kelmoPathInfo().appdataDir()));
    service_business::json_db::resetJsonDBForTests();
}

void StoreTest::TearDown()
{
    service_business::json_db::resetJsonDBForTests();
    qunsetenv("SERVICE_BUSINESS_HOME");
    qunsetenv("SERVICE_BUSINESS_RESOURCES");
}

QString StoreTest::appdataPath(const QString& relative) const
{
    return utility_business::kelmoPathInfo().appdataDir() + QLatin1Char('/') + relative;
}

void StoreTest::writeFile(const QString& relative, const QString& text) const
{
    const QString path = appdataPath(relative);
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    const QByteArray bytes = text.toUtf8();
    ASSERT_EQ(file.write(bytes), bytes.size());
}

QString StoreTest::readFile(const QString& relative) const
{
    QFile file(appdataPath(relative));
    if (!file.open(QIODevice::ReadOnly)) return QString();
    return QString::fromUtf8(file.readAll());
}

bool StoreTest::exists(const QString& relative) const { return QFileInfo::exists(appdataPath(relative)); }

QString StoreTest::factoryText(const QString& fileName)
{
    QFile file(QStringLiteral(SB_FACTORY_SETTINGS_DIR) + QLatin1Char('/') + fileName);
    if (!file.open(QIODevice::ReadOnly)) return QString();
    return QString::fromUtf8(file.readAll());
}

void StoreTest::usePackageDir(const QString& dir) { qputenv("SERVICE_BUSINESS_RESOURCES", QFile::encodeName(dir)); }

void StoreTest::writeFactoryFiles() const
{
    for (const char* name : {"Settings-App.json", "Settings-Basis.json", "Settings-Env.json"})
        writeFile(QLatin1String(name), factoryText(QLatin1String(name)));
}

void StoreTest::writeProfile(int id, const QString& username) const
{
    const QString dir = QStringLiteral("Profiles/%1/").arg(id);
    writeFile(dir + QStringLiteral("Settings-Local.json"), QStringLiteral("{\"username\": \"%1\"}\n").arg(username));
    writeFile(dir + QStringLiteral("Settings-Runtime.json"), QStringLiteral("{}\n"));
}
