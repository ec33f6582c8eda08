#pragma once
// Read side of the settings store. Reads only the documents in memory and never changes them; a value
// that is absent (or of another type) gives a fixed default, so no read fails.

#include "service_business/export.h"

#include "utility_business/utility_enum.h"
#include "utility_business/utility_structs.h"

#include <QList>
#include <QMap>
#include <QString>

namespace service_business {
namespace json_db {

class JsonDB;

class SERVICE_BUSINESS_EXPORT Browser {
public:
    explicit Browser(JsonDB* db);

    // The client API base ("basis"/"capi_url" of the App file, else of the Basis file), "/" and `name`;
    // empty when neither file has a base.
    QString apiUrl(const QString& name) const;
    QString startUrl() const;
    QString settingVersion() const;
    QString sn() const;
    QString getEnvSettings(const QString& key) const;

    QList<utility_business::ToneInfo> allTones() const;
    utility_business::ToneInfo currentTone() const;
    QList<utility_business::ProxyServerInfo> proxyServersInfo() const;
    QList<utility_business::ResourceFileInfo> resourceFilesInfo() const;

    // Profile id to user name, in id order.
    QMap<int, QString> profilesMap() const;
    QString profileName(int profileId) const;
    utility_business::ProfileInfo profileInfo(int profileId) const;
    utility_business::UserConfig userConfig(int profileId) const;
    // Whether any profile starts the client when the user logs on.
    bool hasAppLaunchAtStartUp() const;
    // 1008 x 665 at 0, 0, zoom 100, not maximised, for every member the file lacks.
    utility_business::WindowInfo windowInfo(int profileId) const;

    // Basis unless the profile stores another text than "basis".
    utility_business::utility_enum::PrinterSettingsMode printerSettingsMode(int profileId) const;
    // The profile's basis settings, with the width of printer 0.
    utility_business::PrinterSettings basisPrinterSettings(int profileId) const;
    // The printer's settings in the profile, with the printer's own width; defaults when not enabled there.
    utility_business::PrinterSettings printSettings(int profileId, int printerId) const;
    utility_business::PrintCopies printCopies(int profileId, int printerId) const;
    // Printer id to copies, for every printer enabled in the profile.
    QMap<int, utility_business::PrintCopies> enabledPrintCopies(int profileId) const;
    // The records of the printers enabled in the profile that the App file knows.
    QList<utility_business::PrinterInfo> enabledPrinterList(int profileId) const;
    QList<utility_business::PrinterInfo> printerList() const;
    utility_business::PrinterInfo printerInfo(int printerId) const;
    utility_business::PrinterInfo printerInfo(int profileId, int printerId) const;
    QMap<int, utility_business::PrinterProperties> printerCommonInfoList() const;
    utility_business::GlobalPrintSettings globalPrintSettings() const;

private:
    JsonDB* m_db;
};

}  // namespace json_db
}  // namespace service_business
