#pragma once
// Facts about the machine that the service's housekeeping hands on to the other subsystems.
// Private to service_business: not part of its interface.

#include <QRect>

#include <functional>

namespace service_business {
namespace utility {

// The screen the client's windows open on (systemif::sys::screenResolution): right and bottom inclusive.
QRect screenResolution();

// Test seam: answers screenResolution() from `screen` instead of the display; null restores the display.
void setScreenResolutionForTesting(std::function<QRect()> screen);

}  // namespace utility
}  // namespace service_business
