// The graphics built-ins without a display: the group's surface, coordinates,
// colours, the viewport, text, files and the errors of bad arguments.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>

#include "graphics/session.hpp"
#include "runtime/marray.hpp"
#include "runtime/object.hpp"
#include "graphics/drawing_builtins.hpp"
#include "tests/unit/builtins/call_builtin.hpp"

namespace marl {
namespace {

using test::N;
using test::S;

class Graphics : public ::testing::Test {
 protected:
  void SetUp() override {
    unsetenv("DISPLAY");
    unsetenv("WAYLAND_DISPLAY");
    gfx::finishGraphics();
  }
  void TearDown() override { gfx::finishGraphics(); }

  static Value call(const char *name, const std::vector<Value> &args) {
    return test::callBuiltin(graphicsBuiltins(), name, args);
  }
  static double num(const char *name, const std::vector<Value> &args) {
    Value v = call(name, args);
    EXPECT_TRUE(v.isNumber()) << name;
    return v.number;
  }
  static std::string error(const char *name, const std::vector<Value> &args) {
    return test::errorOf(graphicsBuiltins(), name, args);
  }
  static double at(double x, double y) { return num("point", {N(x), N(y)}); }
};

TEST_F(Graphics, TheGroupRegistersTheClassicSetAndGsave) {
  EXPECT_EQ(test::surface(graphicsBuiltins()),
            "screen/2 screen/0 window/4 cls/0 cls/1 cls/3 circle/3 circle/5 circle/6 line/4 "
            "box/4 box/5 box/6 fill/4 fill/5 fill/6 pset/2 pset/3 point/2 gpos/2 update/0 "
            "update/1 gprint/3 gprintf/-1 font/2 font/3 color/3 color/1 color/0 paint/2 view/4 "
            "gsave/1");
}

TEST_F(Graphics, ScreenOpensResizesAndReportsItsSize) {
  EXPECT_TRUE(call("screen", {}).isNull());
  call("screen", {N(30), N(20.9)});
  Value size = call("screen", {});
  MArray *a = asArray(size);
  ASSERT_NE(a, nullptr);
  ASSERT_EQ(a->size(), 2u);
  EXPECT_EQ(a->at(0)->get().number, 30);
  EXPECT_EQ(a->at(1)->get().number, 20);
  EXPECT_EQ(at(29, 19), 0xFFFFFF);
  EXPECT_EQ(at(30, 0), -1);
  EXPECT_EQ(at(0, -1), -1);
  for (auto bad :
       {std::vector<Value>{N(0), N(10)}, {N(10), N(8193)}, {N(8192), N(8192)}, {N(NAN), N(10)}})
    EXPECT_EQ(error("screen", bad), "error [7]: Bad argument range in screen()");
  EXPECT_EQ(error("screen", {S("a"), N(1)}), "error [7]: Cannot convert arg to number");
}

TEST_F(Graphics, DrawingWithoutScreenOpensTheDefaultPicture) {
  call("pset", {N(639), N(479), N(0x123456)});
  EXPECT_EQ(at(639, 479), 0x123456);
  EXPECT_EQ(asArray(call("screen", {}))->at(0)->get().number, 640);
}

TEST_F(Graphics, ColourNumbersComponentsAndPreviousColour) {
  call("screen", {N(10), N(10)});
  EXPECT_EQ(num("color", {}), 0);
  EXPECT_EQ(num("color", {N(0xFF0000)}), 0);
  EXPECT_EQ(num("color", {N(300), N(-5), N(128.9)}), 0xFF0000);
  EXPECT_EQ(num("color", {}), 0xFF0080);
  call("pset", {N(1), N(1)});
  EXPECT_EQ(at(1, 1), 0xFF0080);
  EXPECT_EQ(error("color", {N(0x1000000)}), "error [7]: Bad argument range in color()");
  EXPECT_EQ(error("pset", {N(1), N(1), N(-1)}), "error [7]: Bad argument range in pset()");
  EXPECT_EQ(error("color", {S("red")}), "error [7]: Cannot convert arg to number");
  // cls(c) clears with c and keeps it as the background of cls().
  call("cls", {N(0x00FF00)});
  EXPECT_EQ(at(9, 9), 0x00FF00);
  call("pset", {N(2), N(2)});
  call("cls", {});
  EXPECT_EQ(at(2, 2), 0x00FF00);
  call("cls", {N(1), N(2), N(3)});
  EXPECT_EQ(at(0, 0), 0x010203);
}

TEST_F(Graphics, WindowMapsLogicalCoordinatesWithYUpOntoTheViewport) {
  call("screen", {N(101), N(51)});
  call("window", {N(-1), N(0), N(1), N(1)});
  call("pset", {N(-1), N(0), N(0xFF0000)});   // bottom-left
  call("pset", {N(1), N(1), N(0x00FF00)});    // top-right
  call("pset", {N(0), N(0.5), N(0x0000FF)});  // middle
  EXPECT_EQ(at(-1, 0), 0xFF0000);
  call("window", {N(0), N(0), N(100), N(50)});  // back to the pixel grid, y up
  EXPECT_EQ(at(0, 0), 0xFF0000);
  EXPECT_EQ(at(100, 50), 0x00FF00);
  EXPECT_EQ(at(50, 25), 0x0000FF);
  call("screen", {N(101), N(51)});  // screen() switches window() off again
  call("pset", {N(0), N(0), N(0xFF0000)});
  EXPECT_EQ(at(0, 0), 0xFF0000);
  EXPECT_EQ(at(0, 50), 0xFFFFFF);
  EXPECT_EQ(error("window", {N(1), N(0), N(1), N(5)}), "error [7]: Bad argument range in window()");
  EXPECT_EQ(error("window", {N(0), N(0), N(1), N(INFINITY)}),
            "error [7]: Bad argument range in window()");
}

TEST_F(Graphics, ViewClipsDrawingAndFramesTheWindow) {
  call("screen", {N(40), N(40)});
  call("view", {N(30), N(29), N(10), N(20)});  // corners in any order
  call("fill", {N(0), N(0), N(39), N(39), N(0xFF0000)});
  EXPECT_EQ(at(10, 20), 0xFF0000);
  EXPECT_EQ(at(30, 29), 0xFF0000);
  EXPECT_EQ(at(9, 20), 0xFFFFFF);
  EXPECT_EQ(at(10, 30), 0xFFFFFF);
  call("cls", {});
  EXPECT_EQ(at(20, 25), 0xFFFFFF);
  call("window", {N(0), N(0), N(1), N(1)});
  call("pset", {N(0), N(0), N(0x0000FF)});
  call("pset", {N(1), N(1), N(0x00FF00)});
  EXPECT_EQ(at(0, 0), 0x0000FF);
  EXPECT_EQ(at(1, 1), 0x00FF00);
  call("screen", {N(40), N(40)});
  // Partly outside is cut; wholly outside is an error.
  call("view", {N(-10), N(-10), N(100), N(5)});
  EXPECT_EQ(num("paint", {N(0), N(0)}), 40 * 6);
  EXPECT_EQ(error("view", {N(50), N(0), N(60), N(10)}), "error [7]: Bad argument range in view()");
}

TEST_F(Graphics, ShapesTheirColourAndFillVariants) {
  call("screen", {N(60), N(60)});
  call("box", {N(5), N(5), N(15), N(15)});
  EXPECT_EQ(at(5, 10), 0);
  EXPECT_EQ(at(10, 10), 0xFFFFFF);
  call("box", {N(20), N(5), N(30), N(15), N(0xFF0000)});
  EXPECT_EQ(at(30, 15), 0xFF0000);
  EXPECT_EQ(at(25, 10), 0xFFFFFF);
  call("box", {N(20), N(20), N(30), N(30), N(0xFF0000), Value::boolean(true)});
  EXPECT_EQ(at(25, 25), 0xFF0000);
  call("fill", {N(35), N(5), N(45), N(15), N(0x00FF00), N(0x0000FF)});
  EXPECT_EQ(at(40, 10), 0x00FF00);
  EXPECT_EQ(at(35, 10), 0x0000FF);
  call("fill", {N(50), N(50), N(52), N(52)});
  EXPECT_EQ(at(51, 51), 0);
  call("circle", {N(10), N(45), N(5), N(0xFF0000), N(1)});
  EXPECT_EQ(at(10, 45), 0xFF0000);
  call("circle", {N(30), N(45), N(5), N(0xFF0000), N(0), N(2)});  // aspect 2: 5 wide, 10 high
  EXPECT_EQ(at(30, 35), 0xFF0000);
  EXPECT_EQ(at(35, 45), 0xFF0000);
  EXPECT_EQ(at(30, 45), 0xFFFFFF);
  call("line", {N(0), N(59), N(NAN), N(0)});  // not finite: nothing
  EXPECT_EQ(at(0, 59), 0xFFFFFF);
  EXPECT_EQ(error("line", {N(0), N(0), N(1), S("x")}), "error [7]: Cannot convert arg to number");
  EXPECT_EQ(error("box", {N(0), N(0), N(1), N(1), N(1e9)}),
            "error [7]: Bad argument range in box()");
}

TEST_F(Graphics, PaintFillsTheRegionInTheDrawingColourAndCountsIt) {
  call("screen", {N(20), N(20)});
  call("box", {N(2), N(2), N(11), N(11)});
  call("color", {N(0xFF0000)});
  EXPECT_EQ(num("paint", {N(5), N(5)}), 64);
  EXPECT_EQ(at(3, 3), 0xFF0000);
  EXPECT_EQ(at(2, 2), 0);
  EXPECT_EQ(at(0, 0), 0xFFFFFF);
  EXPECT_EQ(num("paint", {N(5), N(5)}), 0);
}

TEST_F(Graphics, TextGoesThroughTheFormattingEngineAndMovesThePosition) {
  call("screen", {N(200), N(40)});
  double w = num("gprint", {N(5), N(5), S("ab")});
  EXPECT_GT(w, 5);
  double w2 = num("gprintf", {S("%s|%03d|%q"), S("ab"), N(7.9)});
  double w3 = num("gprintf", {S("ab|007|q")});
  EXPECT_EQ(w2, w3);  // the same text: the engine's own rules
  // The second text continued at the end of the first: ink well to the right.
  bool inkFar = false;
  for (int x = static_cast<int>(5 + w + w2 + 1); x < 200; x++)
    for (int y = 0; y < 40; y++) inkFar = inkFar || at(x, y) != 0xFFFFFF;
  EXPECT_TRUE(inkFar);
  EXPECT_EQ(error("gprintf", {}), "error [7]: Too few argument in gprintf()");
  EXPECT_EQ(error("gprint", {S("x"), N(0), S("t")}), "error [7]: Cannot convert arg to number");
  call("gpos", {N(150), N(20)});
  call("gprintf", {S("X")});
  bool ink = false;
  for (int x = 150; x < 170; x++)
    for (int y = 20; y < 40; y++) ink = ink || at(x, y) != 0xFFFFFF;
  EXPECT_TRUE(ink);
}

TEST_F(Graphics, FontChecksItsArguments) {
  call("font", {S("Serif"), N(20), S("bold italic")});
  call("font", {S("Monospace"), N(10), N(7)});
  call("font", {S("Sans"), N(12), S("Normal")});
  EXPECT_EQ(error("font", {S("Sans"), N(0)}), "error [7]: Bad argument range in font()");
  EXPECT_EQ(error("font", {S("Sans"), N(12), S("bold heavy")}),
            "error [7]: Bad argument range in font()");
  EXPECT_EQ(error("font", {S("Sans"), N(12), N(8)}), "error [7]: Bad argument range in font()");
  EXPECT_EQ(error("font", {S("Sans"), N(12), N(1.5)}), "error [7]: Cannot convert arg to integer");
  EXPECT_EQ(error("font", {N(3), N(12)}), "error [7]: Cannot convert arg to string");
}

TEST_F(Graphics, UpdateKeepsItsFlagWithoutAWindow) {
  EXPECT_TRUE(call("update", {}).isNull());
  Value prev = call("update", {Value::boolean(false)});
  EXPECT_EQ(prev.kind, Kind::Bool);
  EXPECT_EQ(prev.number, 1);
  EXPECT_EQ(call("update", {N(1)}).number, 0);
}

std::string fileBytes(const std::string &path) {
  std::ifstream in(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

uint32_t le32(const std::string &s, size_t at) {
  return static_cast<unsigned char>(s[at]) | static_cast<unsigned char>(s[at + 1]) << 8 |
         static_cast<unsigned char>(s[at + 2]) << 16 |
         static_cast<uint32_t>(static_cast<unsigned char>(s[at + 3])) << 24;
}

TEST_F(Graphics, GsaveWritesBottomUpBmpAndPngByTheFileName) {
  char dir[] = "/tmp/marl-gfx-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  std::string bmp = std::string(dir) + "/p.BMP", png = std::string(dir) + "/p.png";
  call("screen", {N(3), N(2)});  // rows of 9 bytes padded to 12
  call("pset", {N(0), N(0), N(0x112233)});
  call("pset", {N(2), N(1), N(0xAABBCC)});
  EXPECT_TRUE(truth(call("gsave", {S(bmp)})));
  std::string b = fileBytes(bmp);
  ASSERT_EQ(b.size(), 54u + 24u);
  EXPECT_EQ(b.substr(0, 2), "BM");
  EXPECT_EQ(le32(b, 2), 78u);
  EXPECT_EQ(le32(b, 10), 54u);
  EXPECT_EQ(le32(b, 18), 3u);
  EXPECT_EQ(le32(b, 22), 2u);
  EXPECT_EQ(b[28], 24);
  // The bottom row comes first, pixels as blue, green, red.
  EXPECT_EQ(b.substr(54 + 6, 3), "\xCC\xBB\xAA");
  EXPECT_EQ(b.substr(54 + 12, 3), "\x33\x22\x11");
  EXPECT_EQ(b.substr(54 + 15, 3), "\xFF\xFF\xFF");
  EXPECT_TRUE(truth(call("gsave", {S(png)})));
  EXPECT_EQ(fileBytes(png).substr(0, 8), "\x89PNG\r\n\x1a\n");
  EXPECT_FALSE(truth(call("gsave", {S(std::string(dir) + "/missing/p.png")})));
  EXPECT_EQ(error("gsave", {S("p.gif")}), "error [7]: Unknown picture file type in gsave()");
  EXPECT_EQ(error("gsave", {N(1)}), "error [7]: Cannot convert arg to string");
  std::remove(bmp.c_str());
  std::remove(png.c_str());
  rmdir(dir);
}

}  // namespace
}  // namespace marl
