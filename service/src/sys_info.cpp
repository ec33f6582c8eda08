#include "sys_info_p.h"

#include "systemif/sys.h"

namespace service_business {
namespace utility {

namespace {
std::function<QRect()>& screenSource()
{
    static std::function<QRect()> source;
    return source;
}
}  // namespace

QRect screenResolution()
{
    const std::function<QRect()>& source = screenSource();
    return source ? source() : systemif::sys::screenResolution();
}

void setScreenResolutionForTesting(std::function<QRect()> screen) { screenSource() = std::move(screen); }

}  // namespace utility
}  // namespace service_business
