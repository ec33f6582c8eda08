#pragma once
// A fresh home (ServiceHomeTest) that reads the factory package of this build tree.

#include "service_home.h"

namespace test_support {

class StoreHomeTest : public ServiceHomeTest {
protected:
    void SetUp() override
    {
        ServiceHomeTest::SetUp();
        usePackage(QStringLiteral(SB_FACTORY_PACKAGE_DIR));
    }
    void TearDown() override
    {
        qunsetenv("SERVICE_BUSINESS_RESOURCES");
        ServiceHomeTest::TearDown();
    }
    // Reads the factory package from `dir` from now on.
    static void usePackage(const QString& dir) { qputenv("SERVICE_BUSINESS_RESOURCES", QFile::encodeName(dir)); }
    // The text of a factory settings file as the source tree holds it; a null text when there is none.
    static QString factoryText(const QString& fileName)
    {
        return textOf(QStringLiteral(SB_FACTORY_SETTINGS_DIR "/") + fileName);
    }
    static QString textOf(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    void writeFactoryFiles() const
    {
        for (const QString name : {"Settings-App.json", "Settings-Basis.json", "Settings-Env.json"})
            writeFile(appdataPath(name), factoryText(name));
    }
};

}  // namespace test_support
