#include "service_business/sync_data.h"

#include "url_transporter/downloader.h"

#include "utility_business/json_document.h"

namespace service_business {
namespace data_manage {
namespace sync_data {

using utility_business::JsonDocument;

bool downloadAppSetting() { return false; }
bool downloadBasis() { return false; }
bool downloadEnvSettingFile() { return false; }
bool downloadLocal(int) { return false; }
bool uploadAppSetting() { return false; }
bool uploadProfileSetting(int) { return false; }

QString downloadJson(transporter::DownloaderReqInfo* request)
{
    if (!request) return QString();
    const QString payload = getDownloadJsonData(transporter::Downloader::downloadFileContent(*request));
    if (payload.isEmpty()) return QString();
    JsonDocument check;
    QString error;
    return check.fromString(payload, error) ? payload : QString();
}

QString getDownloadJsonData(const QString& reply)
{
    JsonDocument envelope;
    QString error;
    if (!envelope.fromString(reply, error) || !envelope.getBool({QStringLiteral("success")}, false)) return QString();
    return envelope.toString({QStringLiteral("data")});
}

QString appSettingUrl(const QString& base) { return base + QStringLiteral("app"); }
QString basisSettingUrl(const QString& base) { return base + QStringLiteral("basis"); }
QString envSettingUrl(const QString& base) { return base + QStringLiteral("env"); }

QString profileLocalUrl(const QString& base, int profileId)
{
    return base + QStringLiteral("profile/") + QString::number(profileId) + QStringLiteral("/local");
}

}  // namespace sync_data
}  // namespace data_manage
}  // namespace service_business
