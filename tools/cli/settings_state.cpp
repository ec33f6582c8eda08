#include "settings_state.h"

#include "utility_business/json_document.h"
#include "utility_business/kelmo_path_info.h"

#include <QDir>
#include <QFileInfo>

namespace sbtool {
namespace {

using utility_business::JsonDocument;
using utility_business::KeyPath;

// The members the store adds to, in each file: they must be objects when present, or its saves fail.
QList<KeyPath> objectMembers(const QString& fileName)
{
    if (fileName == QLatin1String("Settings-App.json"))
        return {{QStringLiteral("profiles")}, {QStringLiteral("print")},
                {QStringLiteral("print"), QStringLiteral("printers")}, {QStringLiteral("general")}};
    if (fileName == QLatin1String("Settings-Basis.json"))
        return {{QStringLiteral("basis")}};
    if (fileName == QLatin1String("Settings-Local.json"))
        return {{QStringLiteral("general")}, {QStringLiteral("printers")}};
    if (fileName == QLatin1String("Settings-Runtime.json"))
        return {{QStringLiteral("window_info")}};
    return {};
}

bool isObject(const JsonDocument& document, const KeyPath& path)
{
    return document.toString(path).startsWith(QLatin1Char('{'));
}

}  // namespace

QStringList globalSettingsFiles()
{
    return {QStringLiteral("Settings-App.json"), QStringLiteral("Settings-Basis.json"),
            QStringLiteral("Settings-Env.json")};
}

QString settingsFilePath(const QString& name)
{
    return utility_business::kelmoPathInfo().appdataDir() + QLatin1Char('/') + name;
}

FileCheck checkSettingsFile(const QString& name)
{
    const QString path = settingsFilePath(name);
    const QFileInfo file(path);
    if (!file.exists())
        return {FileState::Missing, QStringLiteral("missing")};
    if (!file.isFile() || !file.isReadable())
        return {FileState::Unreadable, QStringLiteral("not a readable file")};
    // Judged by the store's own reader, so "good" here means the store loads it.
    JsonDocument document;
    if (!document.fromFile(path))
        return {FileState::Invalid, QStringLiteral("not valid JSON")};
    if (!isObject(document, {}))
        return {FileState::WrongShape, QStringLiteral("valid JSON, but not an object")};
    for (const KeyPath& member : objectMembers(file.fileName())) {
        if (document.nodeExist(member) && !isObject(document, member))
            return {FileState::WrongShape,
                    QStringLiteral("valid JSON, but \"%1\" is not an object").arg(member.join(QLatin1Char('/')))};
    }
    return {};
}

QStringList damagedCopies(const QString& name)
{
    return QDir(utility_business::kelmoPathInfo().appdataDir())
        .entryList({name + QStringLiteral(".damaged-*")}, QDir::Files | QDir::Hidden, QDir::Name);
}

QStringList profileSettingsFiles()
{
    JsonDocument app;
    app.fromFile(settingsFilePath(QStringLiteral("Settings-App.json")));
    QStringList names;
    for (const QString& id : app.childrenNames({QStringLiteral("profiles")}))
        names << QStringLiteral("Profiles/%1/Settings-Local.json").arg(id)
              << QStringLiteral("Profiles/%1/Settings-Runtime.json").arg(id);
    return names;
}

bool requireGoodSettings(QString* error)
{
    for (const QString& name : globalSettingsFiles()) {
        const FileCheck check = checkSettingsFile(name);
        if (check.state == FileState::Good)
            continue;
        *error = QStringLiteral("%1 is %2 (\"sbtool settings check\" %3)")
                     .arg(settingsFilePath(name), check.problem,
                          check.state == FileState::WrongShape ? QStringLiteral("cannot repair it: fix or remove it")
                                                               : QStringLiteral("repairs it"));
        return false;
    }
    return true;
}

}  // namespace sbtool
