// The window that shows the picture, run by a thread of its own with the
// toolkit's main loop. It reads the picture under sessionLock() and never
// touches script objects. Without a display every call does nothing.
#pragma once

namespace marl::gfx {

// Shows the window at the picture's size (opening it, or following a resize).
void showWindow();
// Repaints the window from the picture now.
void repaintWindow();
// While the window is shown, waits until the user closes it.
void waitForWindowClose();
// Ends the window thread; later calls run as without a display.
void stopWindowThread();

}  // namespace marl::gfx
