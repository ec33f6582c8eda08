#pragma once
// Write side of the settings store, its only writer. Each write changes the documents in memory and then
// saves the files they stand for; true means both happened. A save that fails keeps the old file on disk
// and the change in memory (the next successful save of that file writes it).

#include "service_business/export.h"

#include "utility_business/utility_enum.h"
#include "utility_business/utility_structs.h"

#include <QString>

namespace service_business {
namespace json_db {

class JsonDB;

class SERVICE_BUSINESS_EXPORT Updater {
public:
    explicit Updater(JsonDB* db);

    // Writes `json` to `path` if it parses; text that does not parse never replaces a file.
    static bool saveJsonFile(const QString& path, const QString& json);
    bool saveAppSetting();
    // Writes the profile's Settings-Local.json and Settings-Runtime.json; false for an unknown profile.
    bool saveProfileSetting(int profileId);

    bool addPrinter(const utility_business::PrinterInfo& info);
    bool removePrinter(int printerId);
    bool updatePrinterWidth(int printerId, const QString& width);
    bool enablePrinter(int profileId, int printerId, const utility_business::PrinterSettings& settings);
    bool disablePrinter(int profileId, int printerId);
    bool updatePrintCopies(int profileId, int printerId, const utility_business::PrintCopies& copies);
    bool setBasisPrinterSettings(int profileId, const utility_business::PrintCopies& copies);
    bool setPrinterSettingsMode(int profileId, utility_business::utility_enum::PrinterSettingsMode mode);
    bool setPrinterGlobalSettings(const utility_business::GlobalPrintSettings& settings);
    bool setCurrentTone(const utility_business::ToneInfo& tone);
    bool setSN(const QString& sn);
    bool setEnvSettings(const QString& key, const QString& value);
    bool updateUserConfig(int profileId, const utility_business::UserConfig& config);
    bool updateWindowInfo(int profileId, const utility_business::WindowInfo& info);
    bool updateProfile(int profileId, const utility_business::ProfileInfo& info);
    // The new profile's id, or -1 when it could not be stored and saved.
    int addProfile(const utility_business::ProfileInfo& info);
    // Removes the profile from the store; its directory is left to the caller.
    bool removeProfile(int profileId);
    // Reads Settings-Basis.json again (after an update replaced it).
    bool reloadBasisSetting();

    // Default file texts of a new profile; empty when one cannot be built.
    static QString constructDefaultProfileRuntime();
    static QString constructDefaultProfileLocal(const utility_business::ProfileInfo& info);
    // The smallest positive id without a profile whose leftover directory could be removed.
    int generateNewProfileID();

private:
    JsonDB* m_db;
};

}  // namespace json_db
}  // namespace service_business
