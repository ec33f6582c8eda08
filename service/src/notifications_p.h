#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared with the tests only.
//

#include <functional>

namespace service_business {
namespace utility {

// Test seam: replaces the 200 ms pause of closeApp and closeRelationalExe (the argument is the pause in
// milliseconds); null restores the real sleep.
void setSleepForTesting(std::function<void(int ms)> sleep);
// Test seam: replaces the time limit of every notification function (2 s, and 10 s for closeApp); a
// negative value restores them.
void setTimeLimitForTesting(int ms);

}  // namespace utility
}  // namespace service_business
