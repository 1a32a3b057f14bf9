// Text drawn into the bitmap with fontconfig fonts (pango on a cairo surface
// that shares the bitmap's pixels); needs no display.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

#include "graphics/bitmap.hpp"

namespace marl::gfx {

enum FontStyle : int { kBold = 1, kItalic = 2, kUnderline = 4 };

struct FontSpec {
  std::string family = "Sans";
  int size = 16;  // pixels
  int style = 0;  // FontStyle bits
};

struct TextExtent {
  int64_t width = 0;  // of the widest line
  int64_t endX = 0;   // just right of the last line
  int64_t endY = 0;   // top of the last line
};

// Draws UTF-8 text (invalid sequences are replaced) with the top-left corner of
// its first line at (x, y); a line feed starts a line below at the same x.
TextExtent drawText(Bitmap &b, const Rect &clip, int64_t x, int64_t y, std::string_view utf8,
                    const FontSpec &font, uint32_t colour);

}  // namespace marl::gfx
