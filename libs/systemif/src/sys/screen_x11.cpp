#include "systemif/sys.h"

#if defined(SYSTEMIF_HAVE_X11)
#include <X11/Xlib.h>
#endif

namespace systemif {
namespace sys {

namespace {
const QRect kNoDisplayScreen(0, 0, 1024, 768);
}  // namespace

QRect screenResolution()
{
#if defined(SYSTEMIF_HAVE_X11)
    Display* display = XOpenDisplay(nullptr);  // the display DISPLAY names; null when there is none
    if (!display) return kNoDisplayScreen;
    const int screen = DefaultScreen(display);
    const QRect rect(0, 0, DisplayWidth(display, screen), DisplayHeight(display, screen));
    XCloseDisplay(display);
    return rect.isValid() ? rect : kNoDisplayScreen;
#else
    return kNoDisplayScreen;
#endif
}

}  // namespace sys
}  // namespace systemif
