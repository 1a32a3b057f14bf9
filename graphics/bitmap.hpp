// The off-screen picture: 32-bit pixels 0x00RRGGBB, rows top to bottom, and
// the clipping rectangle that drawing keeps to.
#pragma once
#include <cstddef>
#include <cstdint>
#include <vector>

namespace marl::gfx {

// Both corners included; empty when x1 > x2 or y1 > y2.
struct Rect {
  int x1 = 0, y1 = 0, x2 = -1, y2 = -1;
  bool contains(int x, int y) const { return x >= x1 && x <= x2 && y >= y1 && y <= y2; }
};

struct Bitmap {
  int width = 0;
  int height = 0;
  std::vector<uint32_t> pixels;  // the layout of a cairo RGB24 surface

  void reset(int w, int h, uint32_t colour) {
    width = w;
    height = h;
    pixels.assign(static_cast<size_t>(w) * static_cast<size_t>(h), colour);
  }
  Rect bounds() const { return {0, 0, width - 1, height - 1}; }
  uint32_t at(int x, int y) const { return pixels[static_cast<size_t>(y) * width + x] & 0xFFFFFF; }
  uint32_t &ref(int x, int y) { return pixels[static_cast<size_t>(y) * width + x]; }
};

}  // namespace marl::gfx
