// The drawing state shared by the script thread and the window thread.
#include "graphics/session.hpp"

#include <cmath>

#include "graphics/window.hpp"

namespace marl::gfx {

void Session::openPicture(int w, int h) {
  bitmap.reset(w, h, kWhite);
  open = true;
  view = bitmap.bounds();
  logical = false;
  background = kWhite;
  textX = textY = 0;
  changes++;
}

double Session::pixelX(double x) const {
  if (!logical) return x;
  return view.x1 + (x - wx1) * (view.x2 - view.x1) / (wx2 - wx1);
}

double Session::pixelY(double y) const {
  if (!logical) return y;
  // y grows upward: wy1 is the viewport's bottom row.
  return view.y2 - (y - wy1) * (view.y2 - view.y1) / (wy2 - wy1);
}

double Session::scaleX() const {
  return logical ? std::fabs((view.x2 - view.x1) / (wx2 - wx1)) : 1.0;
}

double Session::scaleY() const {
  return logical ? std::fabs((view.y2 - view.y1) / (wy2 - wy1)) : 1.0;
}

std::mutex &sessionLock() {
  static std::mutex m;
  return m;
}

Session &session() {
  static Session s;
  return s;
}

void finishGraphics() {
  waitForWindowClose();
  stopWindowThread();
  std::lock_guard<std::mutex> lock(sessionLock());
  session() = Session();
}

}  // namespace marl::gfx
