#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//
// Loads the settings files into the store's documents when the store is created.

#include <QString>

namespace service_business {
namespace json_db {

class JsonDB;

class Initiator {
public:
    // Removes temporary files that interrupted saves left behind, then loads every file under `appdataDir`.
    Initiator(const QString& appdataDir, JsonDB* db);

    // Basis, App, the profiles listed in App, then Env. A file that is missing or does not parse leaves
    // its document as it was.
    void loadAll(const QString& dir);
    // Builds the profiles document from the directories of the profiles that App lists.
    void loadProfiles(const QString& profilesDir);
    // {"local": <Settings-Local.json>, "runtime": <Settings-Runtime.json>} of one profile directory; a
    // missing file gives an empty object.
    static QString profileDocumentText(const QString& profilesDir, const QString& profileId);
    bool reloadBasis();

private:
    QString m_appdataDir;
    JsonDB* m_db;
};

}  // namespace json_db
}  // namespace service_business
