#pragma once
// A fresh home for every test: SERVICE_BUSINESS_HOME points at a temporary directory holding the factory
// settings files, the settings store and the profile registry start empty, the resource packages are those
// of this build tree, and the screen is a 1280 x 720 one unless the test says otherwise.

#include <gtest/gtest.h>

#include <QString>
#include <QTemporaryDir>

#include <ostream>

// Readable failure messages for Qt texts.
void PrintTo(const QString& text, std::ostream* out);

namespace test_support {

class ServiceHomeTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A path under the application-data directory ("Settings-App.json", "Profiles/1").
    QString appdataPath(const QString& relative) const;
    // Writes the file, creating its directory.
    void writeFile(const QString& path, const QString& text) const;
    // The file's text; a null text when it cannot be read.
    QString readFile(const QString& path) const;
    // Stores and registers a profile of that user name; its id.
    int addProfile(const QString& username) const;

    QTemporaryDir m_home;
};

}  // namespace test_support
