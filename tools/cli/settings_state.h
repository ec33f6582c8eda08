#pragma once
// The client's three global settings files as the settings store judges them, for the commands that read
// or change the settings.

#include <QString>
#include <QStringList>

namespace sbtool {

enum class FileState {
    Good,     // present and valid JSON
    Missing,
    Unreadable,  // present, but not a file that can be read (a directory, no permission)
    Invalid      // a readable file, but not valid JSON
};

// "good", "missing", "not a readable file", "not valid JSON".
QString stateText(FileState state);

// "Settings-App.json", "Settings-Basis.json", "Settings-Env.json", in the order the store repairs them.
QStringList globalSettingsFiles();
// The file's path in the application-data directory (SERVICE_BUSINESS_HOME or the XDG data directory).
QString settingsFilePath(const QString& name);
FileState settingsFileState(const QString& name);

// Whether the three files are good, as the client's start-up leaves them. The store reads a damaged file
// as empty and would write it back so, so commands that use the store refuse then; error names the first
// bad file and the command that repairs it.
bool requireGoodSettings(QString* error);

}  // namespace sbtool
