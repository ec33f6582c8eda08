#pragma once
// The client's settings files as the settings store judges them, for the commands that read or change the
// settings.

#include <QString>
#include <QStringList>

namespace sbtool {

enum class FileState {
    Good,        // present, valid JSON, and objects where the store keeps members
    Missing,
    Unreadable,  // present, but not a file that can be read (a directory, no permission)
    Invalid,     // a readable file, but not valid JSON
    WrongShape   // valid JSON, but not an object where the store reads and writes members
};

// A file's state and, when it is not good, what is wrong in words: "missing", "not a readable file",
// "not valid JSON", "valid JSON, but not an object", "valid JSON, but \"profiles\" is not an object".
struct FileCheck {
    FileState state = FileState::Good;
    QString problem;
};

// "Settings-App.json", "Settings-Basis.json", "Settings-Env.json", in the order the store repairs them.
QStringList globalSettingsFiles();
// The path of a file under the application-data directory (SERVICE_BUSINESS_HOME or the XDG data
// directory): "Settings-App.json", "Profiles/1/Settings-Local.json".
QString settingsFilePath(const QString& name);
// Judges the file; its shape by the file name (the App, Basis, Env, Local or Runtime file).
FileCheck checkSettingsFile(const QString& name);
// The copies of a damaged file that the check kept aside before restoring it, oldest first:
// "Settings-App.json.damaged-20261123-152233-041".
QStringList damagedCopies(const QString& name);
// The two files of each profile the App file lists, as names for settingsFilePath.
QStringList profileSettingsFiles();

// Whether the three files are good, as the client's start-up leaves them. The store reads a damaged file
// as empty and would write it back so, so commands that use the store refuse then; error names the first
// bad file and what is wrong with it.
bool requireGoodSettings(QString* error);

}  // namespace sbtool
