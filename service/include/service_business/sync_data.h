#pragma once
// Exchange of the settings files with a settings server. Switched off in this version: every download and
// upload reports false at once, so the integrity pass falls back to the resource package and the writer
// only saves locally. The generic JSON download and the resource paths are ready for when it is enabled.

#include "service_business/export.h"

#include "url_transporter/downloader_req_info.h"

#include <QString>

namespace service_business {
namespace data_manage {
namespace sync_data {

SERVICE_BUSINESS_EXPORT bool downloadAppSetting();
SERVICE_BUSINESS_EXPORT bool downloadBasis();
SERVICE_BUSINESS_EXPORT bool downloadEnvSettingFile();
SERVICE_BUSINESS_EXPORT bool downloadLocal(int profileId);
SERVICE_BUSINESS_EXPORT bool uploadAppSetting();
SERVICE_BUSINESS_EXPORT bool uploadProfileSetting(int profileId);

// The "data" payload of the server's reply to the request, as JSON text; empty when the request is null,
// the download fails, the reply is not a successful envelope or its payload is not JSON.
SERVICE_BUSINESS_EXPORT QString downloadJson(transporter::DownloaderReqInfo* request);

// The "data" member of a reply envelope {"success": true, "data": ...}, as JSON text; empty when the
// reply does not parse or "success" is not true (a missing "success" counts as false).
SERVICE_BUSINESS_EXPORT QString getDownloadJsonData(const QString& reply);

// Resource paths of the settings files below the server's base address; nothing is inserted between.
SERVICE_BUSINESS_EXPORT QString appSettingUrl(const QString& base);
SERVICE_BUSINESS_EXPORT QString basisSettingUrl(const QString& base);
SERVICE_BUSINESS_EXPORT QString envSettingUrl(const QString& base);
SERVICE_BUSINESS_EXPORT QString profileLocalUrl(const QString& base, int profileId);

}  // namespace sync_data
}  // namespace data_manage
}  // namespace service_business
