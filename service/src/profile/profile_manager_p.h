#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared with the tests only.
//

namespace service_business {

// Empties the profile registry, so that its next use loads it from the store again. For tests, which
// run many stores one after the other in one process.
void resetProfileManagerForTests();

}  // namespace service_business
