#include "settings_state.h"

#include "utility_business/json_document.h"
#include "utility_business/kelmo_path_info.h"

#include <QFileInfo>

namespace sbtool {

QStringList globalSettingsFiles()
{
    return {QStringLiteral("Settings-App.json"), QStringLiteral("Settings-Basis.json"),
            QStringLiteral("Settings-Env.json")};
}

QString settingsFilePath(const QString& name)
{
    return utility_business::kelmoPathInfo().appdataDir() + QLatin1Char('/') + name;
}

FileState settingsFileState(const QString& name)
{
    const QString path = settingsFilePath(name);
    const QFileInfo file(path);
    if (!file.exists())
        return FileState::Missing;
    if (!file.isFile() || !file.isReadable())
        return FileState::Unreadable;
    // Judged by the store's own reader, so "good" here means the store loads it.
    utility_business::JsonDocument document;
    return document.fromFile(path) ? FileState::Good : FileState::Invalid;
}

QString stateText(FileState state)
{
    switch (state) {
    case FileState::Good: return QStringLiteral("good");
    case FileState::Missing: return QStringLiteral("missing");
    case FileState::Unreadable: return QStringLiteral("not a readable file");
    case FileState::Invalid: return QStringLiteral("not valid JSON");
    }
    return QString();
}

bool requireGoodSettings(QString* error)
{
    for (const QString& name : globalSettingsFiles()) {
        const FileState state = settingsFileState(name);
        if (state == FileState::Good)
            continue;
        *error = QStringLiteral("%1 is %2 (\"sbtool settings check\" repairs it)")
                     .arg(settingsFilePath(name), stateText(state));
        return false;
    }
    return true;
}

}  // namespace sbtool
