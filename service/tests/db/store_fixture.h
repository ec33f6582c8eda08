#pragma once
// A settings store in a fresh temporary home for each test, with the factory package of this build tree.

#include "db/json_db_p.h"

#include "utility_business/kelmo_path_info.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QString>
#include <QTemporaryDir>

#include <ostream>

// Readable failure messages for Qt texts.
inline void PrintTo(const QString& text, std::ostream* out) { *out << '"' << text.toStdString() << '"'; }

class StoreTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_home.isValid());
        qputenv("SERVICE_BUSINESS_HOME", QFile::encodeName(m_home.path()));
        usePackageDir(QStringLiteral(SB_FACTORY_PACKAGE_DIR));
        ASSERT_TRUE(QDir().mkpath(utility_business::kelmoPathInfo().appdataDir()));
        service_business::json_db::resetJsonDBForTests();
    }
    void TearDown() override
    {
        service_business::json_db::resetJsonDBForTests();
        qunsetenv("SERVICE_BUSINESS_HOME");
        qunsetenv("SERVICE_BUSINESS_RESOURCES");
    }

    // A path under the application-data directory ("Settings-App.json", "Profiles/1/Settings-Local.json").
    QString appdataPath(const QString& relative) const
    {
        return utility_business::kelmoPathInfo().appdataDir() + QLatin1Char('/') + relative;
    }
    // Writes `text` to the file, creating its directory.
    void writeFile(const QString& relative, const QString& text) const
    {
        const QString path = appdataPath(relative);
        ASSERT_TRUE(QDir().mkpath(QFileInfo(path).absolutePath()));
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        const QByteArray bytes = text.toUtf8();
        ASSERT_EQ(file.write(bytes), bytes.size());
    }
    // The file's text; a null text when it cannot be read.
    QString readFile(const QString& relative) const { return textOf(appdataPath(relative)); }
    bool exists(const QString& relative) const { return QFileInfo::exists(appdataPath(relative)); }
    // The text of a factory settings file as it is in the source tree.
    static QString factoryText(const QString& fileName)
    {
        return textOf(QStringLiteral(SB_FACTORY_SETTINGS_DIR) + QLatin1Char('/') + fileName);
    }
    // Reads the factory package from `dir` from now on.
    static void usePackageDir(const QString& dir)
    {
        qputenv("SERVICE_BUSINESS_RESOURCES", QFile::encodeName(dir));
    }

    // The three application files as the factory ships them.
    void writeFactoryFiles() const
    {
        for (const char* name : {"Settings-App.json", "Settings-Basis.json", "Settings-Env.json"})
            writeFile(QLatin1String(name), factoryText(QLatin1String(name)));
    }
    // The two files of a profile directory (the App file is left to the test).
    void writeProfile(int id, const QString& username) const
    {
        const QString dir = QStringLiteral("Profiles/%1/").arg(id);
        writeFile(dir + QStringLiteral("Settings-Local.json"), QStringLiteral("{\"username\": \"%1\"}\n").arg(username));
        writeFile(dir + QStringLiteral("Settings-Runtime.json"), QStringLiteral("{}\n"));
    }

    QTemporaryDir m_home;

private:
    static QString textOf(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
};
