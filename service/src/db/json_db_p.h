#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared inside service_business and with its tests only.
//

namespace service_business {
namespace json_db {

// Destroys the process-wide store so that the next access loads the files again. For tests, which run
// many stores one after the other in one process.
void resetJsonDBForTests();

}  // namespace json_db
}  // namespace service_business
