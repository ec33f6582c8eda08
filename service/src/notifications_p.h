#pragma once
//
//  Not part of the library's interface: shared with the tests only.
//

#include <functional>

namespace service_business {
namespace utility {

// Test seam: replaces the 200 ms pause of closeApp and closeRelationalExe (the argument is the pause in
// milliseconds); null restores the real sleep.
void setSleepForTesting(std::function<void(int ms)> sleep);

}  // namespace utility
}  // namespace service_business
