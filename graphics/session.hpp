// The picture a script draws into and the settings drawing uses. The script
// thread changes it and the window thread reads it, both under sessionLock().
#pragma once
#include <cstdint>
#include <mutex>

#include "graphics/bitmap.hpp"
#include "graphics/text.hpp"

namespace marl::gfx {

constexpr int kDefaultWidth = 640;
constexpr int kDefaultHeight = 480;
constexpr int kMaxSide = 8192;
constexpr int64_t kMaxPixels = 16777216;
constexpr uint32_t kWhite = 0xFFFFFF;

struct Session {
  Bitmap bitmap;
  bool open = false;
  Rect view;                                  // the viewport, in pixels
  bool logical = false;                       // window() coordinates in force
  double wx1 = 0, wy1 = 0, wx2 = 1, wy2 = 1;  // their corners
  uint32_t colour = 0;                        // drawing colour, 0xRRGGBB
  uint32_t background = kWhite;               // of cls()
  int64_t textX = 0, textY = 0;               // text position, in pixels
  FontSpec font;
  bool autoUpdate = true;
  uint64_t changes = 0;  // bumped by every drawing, so the window knows when to repaint

  // A w×h white picture with the viewport, coordinates and text position reset.
  void openPicture(int w, int h);
  // From the script's coordinates to pixel coordinates (not yet rounded).
  double pixelX(double x) const;
  double pixelY(double y) const;
  // Pixels per unit along each axis, for radii.
  double scaleX() const;
  double scaleY() const;
};

std::mutex &sessionLock();
Session &session();

// At the end of a run: waits while the window is shown (until the user closes
// it), stops the window thread and forgets the picture.
void finishGraphics();

}  // namespace marl::gfx
