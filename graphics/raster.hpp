// Drawing algorithms on a bitmap, in pixel coordinates, clipped to a rectangle
// that lies inside the bitmap. Coordinates are doubles rounded to the nearest
// pixel; the caller drops non-finite ones.
#pragma once
#include <cstdint>

#include "graphics/bitmap.hpp"

namespace marl::gfx {

// The nearest pixel, kept within +-2^30 so that sums cannot overflow.
int64_t toPixel(double v);

void setPixel(Bitmap &b, const Rect &clip, int64_t x, int64_t y, uint32_t colour);
void drawLine(Bitmap &b, const Rect &clip, double x1, double y1, double x2, double y2,
              uint32_t colour);
void drawRectangle(Bitmap &b, const Rect &clip, double x1, double y1, double x2, double y2,
                   uint32_t colour);
void fillRectangle(Bitmap &b, const Rect &clip, double x1, double y1, double x2, double y2,
                   uint32_t colour);
// An axis-aligned ellipse with radii rx and ry (a circle when equal); the
// outline is 4-connected and lies inside the filled shape of the same radii.
void drawEllipse(Bitmap &b, const Rect &clip, double cx, double cy, double rx, double ry,
                 uint32_t colour, bool filled);
// Gives `colour` to the 4-connected region of the start pixel's colour;
// yields the number of pixels changed. Works with an explicit stack.
int64_t floodFill(Bitmap &b, const Rect &clip, double x, double y, uint32_t colour);

}  // namespace marl::gfx
