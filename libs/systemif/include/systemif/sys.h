#pragma once
// The machine's screen.

#include <QRect>

namespace systemif {
namespace sys {

// The screen that the client's windows open on, in pixels. Right and bottom are inclusive, as QRect keeps
// them: the width is right - left + 1. On Linux it is the default screen of the X display that DISPLAY
// names. Without a display (DISPLAY unset or empty, no X server answering there, or a build without X11)
// the screen is taken to be 1024 x 768 at 0, 0, the smallest desktop screen still in use, so that a window
// placed for it lies fully on any real screen it is later shown on.
QRect screenResolution();

}  // namespace sys
}  // namespace systemif
