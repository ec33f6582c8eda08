#pragma once
//
//  Private to service_business: not part of its interface.
//  Shared by the profile sources and their tests.
//

#include <QString>

#include <functional>

namespace service_business {
namespace profile_internal {

// Milliseconds since midnight now; 0 when the clock cannot tell.
int timeOfDayMs();
// Deletes a directory with everything in it; true when it is gone (also when it was not there).
bool removeDirectory(const QString& path);

// Test seams: replace the clock or the deletion; null restores the real one.
void setTimeOfDayForTesting(std::function<int()> clock);
void setRemoveDirectoryForTesting(std::function<bool(const QString&)> remove);

}  // namespace profile_internal
}  // namespace service_business
