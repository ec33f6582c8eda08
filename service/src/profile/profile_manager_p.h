#pragma once
//
//  Not part of the library's interface: shared with the tests only.
//

namespace service_business {

// Empties the profile registry, so that its next use loads it from the store again. For tests, which
// run many stores one after the other in one process.
void resetProfileManagerForTests();

}  // namespace service_business
