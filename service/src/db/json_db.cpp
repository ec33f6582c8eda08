#include "service_business/json_db.h"

#include "db/json_db_initiator_p.h"
#include "db/json_db_p.h"
#include "service_business/json_db_browser.h"
#include "service_business/json_db_updater.h"

#include "utility_business/kelmo_path_info.h"

namespace service_business {
namespace json_db {

namespace {
// Created on first use, without a lock: the client makes its first access on its start-up thread.
std::unique_ptr<JsonDB>& instance()
{
    static std::unique_ptr<JsonDB> db;
    return db;
}
}  // namespace

JsonDB::JsonDB()
{
    m_initiator = std::make_unique<Initiator>(utility_business::kelmoPathInfo().appdataDir(), this);
    m_browser = std::make_unique<Browser>(this);
    m_updater = std::make_unique<Updater>(this);
}

JsonDB::~JsonDB() = default;

JsonDB* JsonDB::db()
{
    std::unique_ptr<JsonDB>& db = instance();
    if (!db) db.reset(new JsonDB);
    return db.get();
}

utility_business::JsonDocument* JsonDB::appDocument() { return &db()->m_appDocument; }
utility_business::JsonDocument* JsonDB::basisDocument() { return &db()->m_basisDocument; }
utility_business::JsonDocument* JsonDB::envDocument() { return &db()->m_envDocument; }
utility_business::JsonDocument* JsonDB::profilesDocument() { return &db()->m_profilesDocument; }
Browser* JsonDB::browser() { return db()->m_browser.get(); }
Updater* JsonDB::updater() { return db()->m_updater.get(); }
Initiator* JsonDB::initiator() { return db()->m_initiator.get(); }

void resetJsonDBForTests() { instance().reset(); }

}  // namespace json_db
}  // namespace service_business
