#pragma once
// A settings store in a fresh temporary home for each test, with the factory package of this build tree.

#include <gtest/gtest.h>

#include <QString>
#include <QTemporaryDir>

#include <ostream>

// Readable failure messages for Qt texts.
void PrintTo(const QString& text, std::ostream* out);

class StoreTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A path under the application-data directory ("Settings-App.json", "Profiles/1/Settings-Local.json").
    QString appdataPath(const QString& relative) const;
    // Writes `text` to the file, creating its directory.
    void writeFile(const QString& relative, const QString& text) const;
    // The file's text; a null text when it cannot be read.
    QString readFile(const QString& relative) const;
    bool exists(const QString& relative) const;
    // The text of a factory settings file as it is in the source tree.
    static QString factoryText(const QString& fileName);
    // Reads the factory package from `dir` from now on.
    static void usePackageDir(const QString& dir);

    // The three application files as the factory ships them.
    void writeFactoryFiles() const;
    // The two files of a profile directory (the App file is left to the test).
    void writeProfile(int id, const QString& username) const;

    QTemporaryDir m_home;
};
