#pragma once
// The settings store: four JSON documents held in memory for the life of the process, read through
// Browser and changed (and saved) through Updater.
//
// The store takes no locks. The first access creates it and loads every settings file, so make that
// access on the start-up thread, after data_manage::data_checker::checkSettings() has repaired the files;
// callers that use the store from several threads serialise their calls.

#include "service_business/export.h"

#include "utility_business/json_document.h"

#include <memory>

namespace service_business {
namespace json_db {

class Browser;
class Initiator;
class Updater;

class SERVICE_BUSINESS_EXPORT JsonDB {
public:
    // The process-wide store, created (and loaded from the application-data directory) on the first call.
    static JsonDB* db();

    static utility_business::JsonDocument* appDocument();       // Settings-App.json
    static utility_business::JsonDocument* basisDocument();     // Settings-Basis.json
    static utility_business::JsonDocument* envDocument();       // Settings-Env.json
    // Never a file: {"<id>": {"local": <Settings-Local.json>, "runtime": <Settings-Runtime.json>}, ...}
    static utility_business::JsonDocument* profilesDocument();

    static Browser* browser();
    static Updater* updater();
    static Initiator* initiator();

    ~JsonDB();
    JsonDB(const JsonDB&) = delete;
    JsonDB& operator=(const JsonDB&) = delete;

private:
    JsonDB();
    // The components work on the documents directly; the static accessors would recreate the store
    // while it is still being built.
    friend class Browser;
    friend class Initiator;
    friend class Updater;

    // Declared before the components that point at them, so they outlive them.
    utility_business::JsonDocument m_appDocument;
    utility_business::JsonDocument m_basisDocument;
    utility_business::JsonDocument m_envDocument;
    utility_business::JsonDocument m_profilesDocument;
    std::unique_ptr<Initiator> m_initiator;
    std::unique_ptr<Browser> m_browser;
    std::unique_ptr<Updater> m_updater;
};

}  // namespace json_db
}  // namespace service_business
