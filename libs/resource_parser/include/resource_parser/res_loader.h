#pragma once
// Reader of the client's resource packages: Qt binary resource files (.rcc) made at build time.

#include <QByteArray>
#include <QString>

#include <memory>

namespace resource {

class ResLoader {
public:
    // The loader of the package at `packagePath`, registered once per path and shared by every caller.
    // A package that cannot be opened gives a loader whose every file is absent.
    static std::shared_ptr<ResLoader> get(const QString& packagePath);

    ~ResLoader();
    ResLoader(const ResLoader&) = delete;
    ResLoader& operator=(const ResLoader&) = delete;

    bool isValid() const { return m_valid; }
    // The bytes of the named member ("setting/Settings-App.json"); empty when absent.
    QByteArray getFileData(const QString& name) const;
    // The member's text, decoded as UTF-8; empty when absent.
    QString getFileText(const QString& name) const;

private:
    ResLoader(const QString& packagePath, const QString& root);
    QString m_packagePath;
    QString m_root;  // mount point of this package inside Qt's resource tree
    bool m_valid = false;
};

}  // namespace resource
