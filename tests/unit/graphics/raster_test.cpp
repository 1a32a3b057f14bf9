// Drawing algorithms checked pixel by pixel: lines, rectangles, circles and
// ellipses, clipping, flood fill and text.
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <utility>

#include "graphics/raster.hpp"
#include "graphics/text.hpp"

namespace marl::gfx {
namespace {

constexpr uint32_t kW = 0xFFFFFF;
constexpr uint32_t kRed = 0xFF0000;
constexpr uint32_t kBlue = 0x0000FF;

Bitmap blank(int w, int h) {
  Bitmap b;
  b.reset(w, h, kW);
  return b;
}

std::set<std::pair<int, int>> pixelsOf(const Bitmap &b, uint32_t colour) {
  std::set<std::pair<int, int>> out;
  for (int y = 0; y < b.height; y++)
    for (int x = 0; x < b.width; x++)
      if (b.at(x, y) == colour) out.insert({x, y});
  return out;
}

// Every pixel of the set has a 4- or 8-neighbour in it (no gaps in a line or
// an outline).
bool connected8(const std::set<std::pair<int, int>> &px) {
  for (auto [x, y] : px) {
    bool found = false;
    for (int dy = -1; dy <= 1 && !found; dy++)
      for (int dx = -1; dx <= 1 && !found; dx++)
        if ((dx || dy) && px.count({x + dx, y + dy})) found = true;
    if (!found) return false;
  }
  return true;
}

TEST(Lines, IncludeBothEndsAndStepOnePixelPerMajorUnit) {
  Bitmap b = blank(20, 20);
  drawLine(b, b.bounds(), 2, 3, 12, 3, kRed);
  auto px = pixelsOf(b, kRed);
  EXPECT_EQ(px.size(), 11u);
  EXPECT_TRUE(px.count({2, 3}) && px.count({12, 3}));

  b = blank(20, 20);
  drawLine(b, b.bounds(), 0, 0, 9, 9, kRed);
  px = pixelsOf(b, kRed);
  EXPECT_EQ(px.size(), 10u);
  for (int i = 0; i < 10; i++) EXPECT_TRUE(px.count({i, i})) << i;

  // Steep and reversed: one pixel per row, connected, from end to end.
  b = blank(20, 20);
  drawLine(b, b.bounds(), 8, 17, 3, 1, kRed);
  px = pixelsOf(b, kRed);
  EXPECT_EQ(px.size(), 17u);
  EXPECT_TRUE(px.count({8, 17}) && px.count({3, 1}));
  EXPECT_TRUE(connected8(px));
  std::set<int> rows;
  for (auto p : px) rows.insert(p.second);
  EXPECT_EQ(rows.size(), 17u);
}

TEST(Lines, RoundToNearestPixelAndDrawOnePointForZeroLength) {
  Bitmap b = blank(10, 10);
  drawLine(b, b.bounds(), 4.4, 5.6, 4.4, 5.6, kRed);
  EXPECT_EQ(pixelsOf(b, kRed), (std::set<std::pair<int, int>>{{4, 6}}));
}

TEST(Clipping, FarEndsAreCutToTheRectangleWithTheSameSlope) {
  Bitmap b = blank(40, 40);
  Rect clip{10, 10, 29, 29};
  // The diagonal, from far away on both sides.
  drawLine(b, clip, -1e9, -1e9, 1e9, 1e9, kRed);
  auto px = pixelsOf(b, kRed);
  EXPECT_EQ(px.size(), 20u);
  for (int i = 10; i < 30; i++) EXPECT_TRUE(px.count({i, i})) << i;
  // Nothing outside the clipping rectangle, for every kind of shape.
  drawRectangle(b, clip, 0, 0, 39, 39, kBlue);
  fillRectangle(b, clip, -5, 25, 50, 50, kBlue);
  drawEllipse(b, clip, 20, 20, 15, 15, kBlue, false);
  drawEllipse(b, clip, 0, 0, 1e12, 1e12, kBlue, true);
  setPixel(b, clip, 5, 5, kBlue);
  drawLine(b, clip, -1e300, 3e300, 1e300, -2e300, kBlue);  // doubles can't place it: just clipped
  for (int y = 0; y < 40; y++) {
    for (int x = 0; x < 40; x++) {
      if (!clip.contains(x, y)) {
        EXPECT_EQ(b.at(x, y), kW) << x << "," << y;
      }
    }
  }
}

TEST(Clipping, ALineWhollyOutsideDrawsNothing) {
  Bitmap b = blank(20, 20);
  drawLine(b, Rect{5, 5, 10, 10}, 0, 0, 20, 0, kRed);
  drawLine(b, Rect{5, 5, 10, 10}, 0, 20, 20, 12, kRed);
  EXPECT_TRUE(pixelsOf(b, kRed).empty());
  Bitmap e = blank(4, 4);
  drawLine(e, Rect{}, 0, 0, 3, 3, kRed);  // an empty rectangle
  EXPECT_TRUE(pixelsOf(e, kRed).empty());
}

TEST(Rectangles, OutlineAndFillTakeCornersInAnyOrder) {
  Bitmap b = blank(20, 20);
  drawRectangle(b, b.bounds(), 12, 9, 3, 2, kRed);
  auto px = pixelsOf(b, kRed);
  EXPECT_EQ(px.size(), 2u * 10 + 2u * 6);  // 10 wide, 8 high
  EXPECT_TRUE(px.count({3, 2}) && px.count({12, 9}) && px.count({3, 9}) && px.count({12, 2}));
  EXPECT_EQ(b.at(7, 5), kW);

  b = blank(20, 20);
  fillRectangle(b, b.bounds(), 12, 9, 3, 2, kRed);
  EXPECT_EQ(pixelsOf(b, kRed).size(), 80u);
  EXPECT_EQ(b.at(2, 2), kW);
  EXPECT_EQ(b.at(13, 9), kW);
}

TEST(Circles, OutlineIsAConnectedRingAtTheRadius) {
  for (int r : {1, 2, 5, 10, 37}) {
    Bitmap b = blank(100, 100);
    drawEllipse(b, b.bounds(), 50, 50, r, r, kRed, false);
    auto px = pixelsOf(b, kRed);
    // The four extremes, and no pixel further than a pixel from the radius.
    EXPECT_TRUE(px.count({50 + r, 50}) && px.count({50 - r, 50}) && px.count({50, 50 + r}) &&
                px.count({50, 50 - r}))
        << r;
    for (auto [x, y] : px) {
      double d = std::hypot(x - 50, y - 50);
      EXPECT_LE(std::fabs(d - r), 1.0) << r << " at " << x << "," << y;
    }
    EXPECT_TRUE(connected8(px)) << r;
    EXPECT_EQ(b.at(50, 50), kW) << r;
    // Symmetric in both axes.
    for (auto [x, y] : px) EXPECT_TRUE(px.count({100 - x, y}) && px.count({x, 100 - y}));
  }
}

TEST(Circles, FilledCoversTheOutlineAndTheInteriorOnly) {
  Bitmap ring = blank(60, 60), disc = blank(60, 60);
  drawEllipse(ring, ring.bounds(), 30, 30, 12, 12, kRed, false);
  drawEllipse(disc, disc.bounds(), 30, 30, 12, 12, kRed, true);
  auto outline = pixelsOf(ring, kRed), filled = pixelsOf(disc, kRed);
  for (auto p : outline) EXPECT_TRUE(filled.count(p));
  for (auto [x, y] : filled) EXPECT_LE(std::hypot(x - 30, y - 30), 12.6);
  // About the area of the disc.
  EXPECT_NEAR(static_cast<double>(filled.size()), M_PI * 12.5 * 12.5, 40.0);
}

TEST(Circles, EllipseRadiiAndDegenerateCases) {
  Bitmap b = blank(60, 60);
  drawEllipse(b, b.bounds(), 30, 30, 20, 5, kRed, false);
  auto px = pixelsOf(b, kRed);
  EXPECT_TRUE(px.count({10, 30}) && px.count({50, 30}) && px.count({30, 25}) && px.count({30, 35}));
  for (auto [x, y] : px) EXPECT_TRUE(y >= 25 && y <= 35 && x >= 10 && x <= 50);

  b = blank(10, 10);
  drawEllipse(b, b.bounds(), 4, 4, 0, 0, kRed, false);
  EXPECT_EQ(pixelsOf(b, kRed), (std::set<std::pair<int, int>>{{4, 4}}));
  b = blank(10, 10);
  drawEllipse(b, b.bounds(), 4, 4, -3, -3, kRed, true);
  drawEllipse(b, b.bounds(), 4, 4, NAN, 2, kRed, true);
  EXPECT_TRUE(pixelsOf(b, kRed).empty());
}

TEST(FloodFill, FillsTheRegionUpToItsBorderWithoutLeakingDiagonally) {
  Bitmap b = blank(30, 30);
  drawEllipse(b, b.bounds(), 15, 15, 10, 10, kBlue, false);
  int64_t inside = floodFill(b, b.bounds(), 15, 15, kRed);
  auto red = pixelsOf(b, kRed);
  EXPECT_EQ(inside, static_cast<int64_t>(red.size()));
  EXPECT_EQ(b.at(0, 0), kW);  // outside stays
  EXPECT_EQ(pixelsOf(b, kBlue).size() + red.size() + pixelsOf(b, kW).size(), 900u);
  // Everything strictly inside the ring is red.
  for (int y = 0; y < 30; y++) {
    for (int x = 0; x < 30; x++) {
      if (std::hypot(x - 15, y - 15) < 8.5) {
        EXPECT_EQ(b.at(x, y), kRed) << x << "," << y;
      }
    }
  }

  // A diagonal staircase separates two regions.
  Bitmap s = blank(10, 10);
  drawLine(s, s.bounds(), 0, 9, 9, 0, kBlue);
  EXPECT_EQ(floodFill(s, s.bounds(), 0, 0, kRed), 45);
  EXPECT_EQ(s.at(9, 9), kW);
}

TEST(FloodFill, StopsAtTheClipAndIgnoresSameColourAndOutsideStarts) {
  Bitmap b = blank(20, 20);
  Rect clip{5, 5, 9, 9};
  EXPECT_EQ(floodFill(b, clip, 7, 7, kRed), 25);
  EXPECT_EQ(b.at(4, 7), kW);
  EXPECT_EQ(floodFill(b, clip, 7, 7, kRed), 0);   // already that colour
  EXPECT_EQ(floodFill(b, clip, 1, 1, kBlue), 0);  // outside the clip
  EXPECT_EQ(floodFill(b, clip, -1e300, 7, kBlue), 0);
}

TEST(FloodFill, HugeSerpentineRegionNeedsNoRecursion) {
  // A maze of long corridors: a recursive fill would nest once per pixel.
  const int n = 1201;
  Bitmap b = blank(n, n);
  for (int y = 1; y < n; y += 2) {
    int gap = (y / 2) % 2 == 0 ? n - 1 : 0;
    for (int x = 0; x < n; x++)
      if (x != gap) b.ref(x, y) = kBlue;
  }
  int64_t painted = floodFill(b, b.bounds(), 0, 0, kRed);
  EXPECT_EQ(painted, static_cast<int64_t>(n) * 601 + 600);
  EXPECT_EQ(b.at(n - 1, n - 1), kRed);
}

TEST(Text, DrawsInkOfTheColourNearThePositionAndMeasuresIt) {
  Bitmap b = blank(200, 60);
  TextExtent e = drawText(b, b.bounds(), 20, 10, "Hello", FontSpec{}, kBlue);
  EXPECT_GT(e.width, 20);
  EXPECT_LT(e.width, 100);
  EXPECT_EQ(e.endX, 20 + e.width);
  EXPECT_EQ(e.endY, 10);
  int inked = 0, pure = 0;
  for (int y = 0; y < 60; y++)
    for (int x = 0; x < 200; x++) {
      uint32_t p = b.at(x, y);
      if (p == kW) continue;
      inked++;
      if (p == kBlue) pure++;
      // Ink only within the text's box, and only shades between blue and white.
      EXPECT_TRUE(x >= 19 && x <= 20 + e.width && y >= 10 && y < 10 + 25) << x << "," << y;
      EXPECT_EQ(p & 0xFF, 0xFFu) << x << "," << y;
    }
  EXPECT_GT(inked, 50);
  EXPECT_GT(pure, 5);
}

TEST(Text, LinesStackAtTheSameXAndBadBytesDoNotStopIt) {
  Bitmap b = blank(200, 100);
  TextExtent e = drawText(b, b.bounds(), 10, 5, "wide line\nab", FontSpec{"Sans", 12, kBold}, 0);
  EXPECT_GT(e.endY, 5 + 10);
  EXPECT_LT(e.endX - 10, e.width);  // the last line is shorter
  Bitmap c = blank(100, 40);
  TextExtent bad = drawText(c, c.bounds(), 0, 0, std::string("a\xff\xfe b", 5), FontSpec{}, 0);
  EXPECT_GT(bad.width, 0);
  // Clipped text leaves the outside alone.
  Bitmap d = blank(100, 40);
  drawText(d, Rect{0, 0, 9, 39}, 0, 0, "MMMMMMMM", FontSpec{}, 0);
  for (int y = 0; y < 40; y++)
    for (int x = 10; x < 100; x++) EXPECT_EQ(d.at(x, y), kW);
}

}  // namespace
}  // namespace marl::gfx
