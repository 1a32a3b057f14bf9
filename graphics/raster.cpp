// Lines, rectangles, ellipses and flood fill on the bitmap.
#include "graphics/raster.hpp"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

namespace marl::gfx {

namespace {

constexpr double kPixelLimit = 1073741824.0;  // 2^30

// Pixels x1..x2 of row y, cut to the clipping rectangle.
void span(Bitmap &b, const Rect &clip, int64_t x1, int64_t x2, int64_t y, uint32_t colour) {
  if (y < clip.y1 || y > clip.y2) return;
  x1 = std::max<int64_t>(x1, clip.x1);
  x2 = std::min<int64_t>(x2, clip.x2);
  for (int64_t x = x1; x <= x2; x++) b.ref(static_cast<int>(x), static_cast<int>(y)) = colour;
}

// Liang-Barsky: cuts the segment to the rectangle widened by half a pixel, so
// that a far-away end costs nothing. False when nothing of it is inside.
bool clipSegment(const Rect &clip, double &x1, double &y1, double &x2, double &y2) {
  double lo = 0.0, hi = 1.0;
  double dx = x2 - x1, dy = y2 - y1;
  const double p[4] = {-dx, dx, -dy, dy};
  const double q[4] = {x1 - (clip.x1 - 0.5), (clip.x2 + 0.5) - x1, y1 - (clip.y1 - 0.5),
                       (clip.y2 + 0.5) - y1};
  for (int i = 0; i < 4; i++) {
    if (p[i] == 0.0) {
      if (q[i] < 0.0) return false;
      continue;
    }
    double t = q[i] / p[i];
    if (p[i] < 0.0) {
      if (t > hi) return false;
      lo = std::max(lo, t);
    } else {
      if (t < lo) return false;
      hi = std::min(hi, t);
    }
  }
  double sx = x1, sy = y1;
  x1 = sx + lo * dx;
  y1 = sy + lo * dy;
  x2 = sx + hi * dx;
  y2 = sy + hi * dy;
  return true;
}

}  // namespace

int64_t toPixel(double v) {
  v = std::clamp(v, -kPixelLimit, kPixelLimit);
  return static_cast<int64_t>(std::floor(v + 0.5));
}

void setPixel(Bitmap &b, const Rect &clip, int64_t x, int64_t y, uint32_t colour) {
  if (x < clip.x1 || x > clip.x2 || y < clip.y1 || y > clip.y2) return;
  b.ref(static_cast<int>(x), static_cast<int>(y)) = colour;
}

void drawLine(Bitmap &b, const Rect &clip, double x1, double y1, double x2, double y2,
              uint32_t colour) {
  if (clip.x1 > clip.x2 || clip.y1 > clip.y2) return;
  if (!clipSegment(clip, x1, y1, x2, y2)) return;
  int64_t px = toPixel(x1), py = toPixel(y1);
  const int64_t ex = toPixel(x2), ey = toPixel(y2);
  const int64_t dx = std::llabs(ex - px), dy = -std::llabs(ey - py);
  const int64_t sx = px < ex ? 1 : -1, sy = py < ey ? 1 : -1;
  int64_t err = dx + dy;
  for (;;) {
    setPixel(b, clip, px, py, colour);
    if (px == ex && py == ey) break;
    int64_t e2 = 2 * err;
    if (e2 >= dy) {
      err += dy;
      px += sx;
    }
    if (e2 <= dx) {
      err += dx;
      py += sy;
    }
  }
}

void drawRectangle(Bitmap &b, const Rect &clip, double x1, double y1, double x2, double y2,
                   uint32_t colour) {
  int64_t l = toPixel(x1), t = toPixel(y1), r = toPixel(x2), u = toPixel(y2);
  if (l > r) std::swap(l, r);
  if (t > u) std::swap(t, u);
  span(b, clip, l, r, t, colour);
  span(b, clip, l, r, u, colour);
  int64_t top = std::max<int64_t>(t + 1, clip.y1), bottom = std::min<int64_t>(u - 1, clip.y2);
  for (int64_t y = top; y <= bottom; y++) {
    setPixel(b, clip, l, y, colour);
    setPixel(b, clip, r, y, colour);
  }
}

void fillRectangle(Bitmap &b, const Rect &clip, double x1, double y1, double x2, double y2,
                   uint32_t colour) {
  int64_t l = toPixel(x1), t = toPixel(y1), r = toPixel(x2), u = toPixel(y2);
  if (l > r) std::swap(l, r);
  if (t > u) std::swap(t, u);
  int64_t top = std::max<int64_t>(t, clip.y1), bottom = std::min<int64_t>(u, clip.y2);
  for (int64_t y = top; y <= bottom; y++) span(b, clip, l, r, y, colour);
}

void drawEllipse(Bitmap &b, const Rect &clip, double cx, double cy, double rx, double ry,
                 uint32_t colour, bool filled) {
  if (!(rx >= 0.0) || !(ry >= 0.0)) return;
  const int64_t x0 = toPixel(cx), y0 = toPixel(cy);
  const int64_t rw = toPixel(rx), rh = toPixel(ry);
  // Half-width of row dy; rows beyond the ellipse have none (-1). Half a pixel
  // added to the vertical radius keeps the top and bottom rows from being
  // single points.
  auto halfWidth = [&](int64_t dy) -> int64_t {
    if (dy < -rh || dy > rh) return -1;
    double f = static_cast<double>(dy) / (static_cast<double>(rh) + 0.5);
    return static_cast<int64_t>(std::floor(rw * std::sqrt(std::max(0.0, 1.0 - f * f)) + 0.5));
  };
  const int64_t first = std::max<int64_t>(-rh, clip.y1 - y0);
  const int64_t last = std::min<int64_t>(rh, clip.y2 - y0);
  for (int64_t dy = first; dy <= last; dy++) {
    int64_t w = halfWidth(dy);
    if (filled) {
      span(b, clip, x0 - w, x0 + w, y0 + dy, colour);
      continue;
    }
    // The outline: the pixels of this row that the rows above or below do not
    // cover, and at least the two ends.
    int64_t inner = std::min(halfWidth(dy - 1), halfWidth(dy + 1));
    int64_t from = std::min(inner + 1, w);
    span(b, clip, x0 - w, x0 - from, y0 + dy, colour);
    span(b, clip, x0 + from, x0 + w, y0 + dy, colour);
  }
}

int64_t floodFill(Bitmap &b, const Rect &clip, double x, double y, uint32_t colour) {
  const int64_t sx = toPixel(x), sy = toPixel(y);
  // toPixel keeps both within +-2^30, so they fit an int.
  if (!clip.contains(static_cast<int>(sx), static_cast<int>(sy))) return 0;
  const uint32_t target = b.at(static_cast<int>(sx), static_cast<int>(sy));
  colour &= 0xFFFFFF;
  if (target == colour) return 0;
  // Scan-line fill: each seed paints its whole run, then seeds the runs above
  // and below it.
  int64_t painted = 0;
  std::vector<std::pair<int, int>> seeds;
  seeds.emplace_back(static_cast<int>(sx), static_cast<int>(sy));
  while (!seeds.empty()) {
    auto [px, py] = seeds.back();
    seeds.pop_back();
    if (b.at(px, py) != target) continue;
    int l = px, r = px;
    while (l > clip.x1 && b.at(l - 1, py) == target) l--;
    while (r < clip.x2 && b.at(r + 1, py) == target) r++;
    for (int i = l; i <= r; i++) b.ref(i, py) = colour;
    painted += r - l + 1;
    for (int ny : {py - 1, py + 1}) {
      if (ny < clip.y1 || ny > clip.y2) continue;
      bool inRun = false;
      for (int i = l; i <= r; i++) {
        bool match = b.at(i, ny) == target;
        if (match && !inRun) seeds.emplace_back(i, ny);
        inRun = match;
      }
    }
  }
  return painted;
}

}  // namespace marl::gfx
