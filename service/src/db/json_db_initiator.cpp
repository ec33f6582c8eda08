#include "db/json_db_initiator_p.h"

#include "db/settings_files_p.h"
#include "service_business/json_db.h"

#include "common/common.h"
#include "utility_business/json_document.h"

#include <QDir>

namespace service_business {
namespace json_db {

using common::func::joinPath;
using utility_business::JsonDocument;

namespace {
// A save that was killed half-way leaves its temporary file beside the settings file; nothing else
// would ever remove it.
void removeStaleTemporaryFiles(const QString& appdataDir)
{
    JsonDocument::removeStaleTemporaryFiles(appdataDir);
    const QDir profiles(joinPath(appdataDir, settings_files::kProfilesDirName));
    for (const QString& name : profiles.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        JsonDocument::removeStaleTemporaryFiles(profiles.filePath(name));
}
}  // namespace

Initiator::Initiator(const QString& appdataDir, JsonDB* db) : m_appdataDir(appdataDir), m_db(db)
{
    removeStaleTemporaryFiles(appdataDir);
    loadAll(appdataDir);
}

void Initiator::loadAll(const QString& dir)
{
    m_db->m_basisDocument.fromFile(joinPath(dir, settings_files::kBasis));
    m_db->m_appDocument.fromFile(joinPath(dir, settings_files::kApp));
    loadProfiles(joinPath(dir, settings_files::kProfilesDirName));
    m_db->m_envDocument.fromFile(joinPath(dir, settings_files::kEnv));
}

void Initiator::loadProfiles(const QString& profilesDir)
{
    for (const QString& id : m_db->m_appDocument.childrenNames({QStringLiteral("profiles")}))
        m_db->m_profilesDocument.addNode(profileDocumentText(profilesDir, id), {id});
}

QString Initiator::profileDocumentText(const QString& profilesDir, const QString& profileId)
{
    const QString dir = joinPath(profilesDir, profileId);
    JsonDocument local;
    local.fromFile(joinPath(dir, settings_files::kLocal));
    JsonDocument runtime;
    runtime.fromFile(joinPath(dir, settings_files::kRuntime));

    JsonDocument profile;
    profile.addNode(local.toString(), {QStringLiteral("local")});
    profile.addNode(runtime.toString(), {QStringLiteral("runtime")});
    return profile.toString();
}

bool Initiator::reloadBasis()
{
    return m_db->m_basisDocument.fromFile(joinPath(m_appdataDir, settings_files::kBasis));
}

}  // namespace json_db
}  // namespace service_business
