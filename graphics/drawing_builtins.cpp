// The graphics built-ins: the picture, coordinates, colours, drawing, text
// and the window's updates. Handlers draw into the session's bitmap under its
// lock; the window follows on its own thread.
#include "graphics/drawing_builtins.hpp"

#include <cmath>
#include <cstring>
#include <mutex>

#include "builtins/registry.hpp"
#include "runtime/error.hpp"
#include "graphics/picture_file.hpp"
#include "graphics/raster.hpp"
#include "graphics/session.hpp"
#include "graphics/text.hpp"
#include "graphics/window.hpp"
#include "io/encoding.hpp"
#include "runtime/conversions.hpp"
#include "runtime/format.hpp"
#include "runtime/marray.hpp"
#include "runtime/mstring.hpp"
#include "runtime/object.hpp"

namespace marl {

namespace {

using namespace gfx;

// The session for one built-in, locked. Opens the default picture when none is
// open yet, and shows the window for a picture opened here once unlocked.
class Drawing {
 public:
  explicit Drawing(bool changes = true) : lock_(sessionLock()), s(session()), changes_(changes) {
    if (!s.open) {
      s.openPicture(kDefaultWidth, kDefaultHeight);
      opened_ = true;
    }
  }
  ~Drawing() {
    if (changes_) s.changes++;
    lock_.unlock();
    if (opened_) showWindow();
  }
  Drawing(const Drawing &) = delete;
  Drawing &operator=(const Drawing &) = delete;

 private:
  std::unique_lock<std::mutex> lock_;

 public:
  Session &s;

 private:
  bool changes_;
  bool opened_ = false;
};

double whole(int line, const Value &v) { return std::trunc(argNumber(line, v)); }

uint32_t colourArg(int line, const Value &v, const char *who) {
  double c = whole(line, v);
  if (!(c >= 0 && c <= 0xFFFFFF)) raise_error(line, "Bad argument range in %s()", who);
  return static_cast<uint32_t>(c);
}

// Red, green and blue from three arguments, each clamped to 0..255.
uint32_t rgbArgs(int line, const Args &a, size_t first) {
  uint32_t c = 0;
  for (size_t i = first; i < first + 3; i++) {
    double part = whole(line, a[i]);
    part = std::isnan(part) ? 0 : std::fmin(255.0, std::fmax(0.0, part));
    c = (c << 8) | static_cast<uint32_t>(part);
  }
  return c;
}

bool allFinite(std::initializer_list<double> values) {
  for (double v : values)
    if (!std::isfinite(v)) return false;
  return true;
}

void bi_screen_open(Context &, int line, const Args &a, Value &) {
  double w = whole(line, a[0]), h = whole(line, a[1]);
  if (!(w >= 1 && w <= kMaxSide && h >= 1 && h <= kMaxSide) || w * h > kMaxPixels)
    raise_error(line, "Bad argument range in screen()");
  {
    std::lock_guard<std::mutex> lock(sessionLock());
    session().openPicture(static_cast<int>(w), static_cast<int>(h));
  }
  showWindow();
}

void bi_screen_size(Context &, int, const Args &, Value &r) {
  std::lock_guard<std::mutex> lock(sessionLock());
  const Session &s = session();
  if (!s.open) return;
  MArray *size = new MArray();
  r = Value(size);
  size->push(Value::num(s.bitmap.width));
  size->push(Value::num(s.bitmap.height));
}

void bi_window(Context &, int line, const Args &a, Value &) {
  double x1 = argNumber(line, a[0]), y1 = argNumber(line, a[1]);
  double x2 = argNumber(line, a[2]), y2 = argNumber(line, a[3]);
  if (!allFinite({x1, y1, x2, y2}) || x1 == x2 || y1 == y2)
    raise_error(line, "Bad argument range in window()");
  Drawing d(false);
  d.s.logical = true;
  d.s.wx1 = x1;
  d.s.wy1 = y1;
  d.s.wx2 = x2;
  d.s.wy2 = y2;
}

void bi_view(Context &, int line, const Args &a, Value &) {
  double c[4];
  for (int i = 0; i < 4; i++) c[i] = argNumber(line, a[i]);
  if (!allFinite({c[0], c[1], c[2], c[3]})) raise_error(line, "Bad argument range in view()");
  Drawing d(false);
  Rect r{static_cast<int>(std::max<int64_t>(std::min(toPixel(c[0]), toPixel(c[2])), 0)),
         static_cast<int>(std::max<int64_t>(std::min(toPixel(c[1]), toPixel(c[3])), 0)),
         static_cast<int>(
             std::min<int64_t>(std::max(toPixel(c[0]), toPixel(c[2])), d.s.bitmap.width - 1)),
         static_cast<int>(
             std::min<int64_t>(std::max(toPixel(c[1]), toPixel(c[3])), d.s.bitmap.height - 1))};
  if (r.x1 > r.x2 || r.y1 > r.y2) raise_error(line, "Bad argument range in view()");
  d.s.view = r;
}

void bi_cls(Context &, int line, const Args &a, Value &) {
  uint32_t c = 0;
  if (a.size() == 1) c = colourArg(line, a[0], "cls");
  if (a.size() == 3) c = rgbArgs(line, a, 0);
  Drawing d;
  if (a.size() != 0) d.s.background = c;
  const Rect &v = d.s.view;
  fillRectangle(d.s.bitmap, v, v.x1, v.y1, v.x2, v.y2, d.s.background);
  d.s.textX = v.x1;
  d.s.textY = v.y1;
}

void bi_color(Context &, int line, const Args &a, Value &r) {
  uint32_t c = 0;
  if (a.size() == 1) c = colourArg(line, a[0], "color");
  if (a.size() == 3) c = rgbArgs(line, a, 0);
  std::lock_guard<std::mutex> lock(sessionLock());
  r = Value::num(session().colour);
  if (a.size() != 0) session().colour = c;
}

void bi_circle(Context &, int line, const Args &a, Value &) {
  double x = argNumber(line, a[0]), y = argNumber(line, a[1]), radius = argNumber(line, a[2]);
  bool custom = a.size() >= 5;
  uint32_t c = custom ? colourArg(line, a[3], "circle") : 0;
  bool filled = custom && truth(a[4]);
  double aspect = a.size() == 6 ? std::fabs(argNumber(line, a[5])) : 1.0;
  Drawing d;
  if (!custom) c = d.s.colour;
  double cx = d.s.pixelX(x), cy = d.s.pixelY(y);
  double rx = radius * d.s.scaleX(), ry = radius * aspect * d.s.scaleY();
  if (!allFinite({cx, cy}) || std::isnan(rx) || std::isnan(ry)) return;
  drawEllipse(d.s.bitmap, d.s.view, cx, cy, rx, ry, c, filled);
}

// The four corners of a line or rectangle, in pixels; false when one is not finite.
bool corners(int line, const Args &a, const Session &s, double p[4]) {
  p[0] = s.pixelX(argNumber(line, a[0]));
  p[1] = s.pixelY(argNumber(line, a[1]));
  p[2] = s.pixelX(argNumber(line, a[2]));
  p[3] = s.pixelY(argNumber(line, a[3]));
  return allFinite({p[0], p[1], p[2], p[3]});
}

void bi_line(Context &, int line, const Args &a, Value &) {
  for (int i = 0; i < 4; i++) argNumber(line, a[i]);
  Drawing d;
  double p[4];
  if (corners(line, a, d.s, p)) drawLine(d.s.bitmap, d.s.view, p[0], p[1], p[2], p[3], d.s.colour);
}

void bi_box(Context &, int line, const Args &a, Value &) {
  for (int i = 0; i < 4; i++) argNumber(line, a[i]);
  Drawing d;
  double p[4];
  if (corners(line, a, d.s, p))
    drawRectangle(d.s.bitmap, d.s.view, p[0], p[1], p[2], p[3], d.s.colour);
}

void bi_box_coloured(Context &, int line, const Args &a, Value &) {
  for (int i = 0; i < 4; i++) argNumber(line, a[i]);
  uint32_t c = colourArg(line, a[4], "box");
  bool filled = a.size() == 6 && truth(a[5]);
  Drawing d;
  double p[4];
  if (!corners(line, a, d.s, p)) return;
  if (filled)
    fillRectangle(d.s.bitmap, d.s.view, p[0], p[1], p[2], p[3], c);
  else
    drawRectangle(d.s.bitmap, d.s.view, p[0], p[1], p[2], p[3], c);
}

void bi_fill(Context &, int line, const Args &a, Value &) {
  for (int i = 0; i < 4; i++) argNumber(line, a[i]);
  Drawing d;
  double p[4];
  if (corners(line, a, d.s, p))
    fillRectangle(d.s.bitmap, d.s.view, p[0], p[1], p[2], p[3], d.s.colour);
}

void bi_fill_coloured(Context &, int line, const Args &a, Value &) {
  for (int i = 0; i < 4; i++) argNumber(line, a[i]);
  uint32_t c = colourArg(line, a[4], "fill");
  bool bordered = a.size() == 6;
  uint32_t border = bordered ? colourArg(line, a[5], "fill") : 0;
  Drawing d;
  double p[4];
  if (!corners(line, a, d.s, p)) return;
  fillRectangle(d.s.bitmap, d.s.view, p[0], p[1], p[2], p[3], c);
  if (bordered) drawRectangle(d.s.bitmap, d.s.view, p[0], p[1], p[2], p[3], border);
}

void bi_pset(Context &, int line, const Args &a, Value &) {
  double x = argNumber(line, a[0]), y = argNumber(line, a[1]);
  uint32_t c = a.size() == 3 ? colourArg(line, a[2], "pset") : 0;
  Drawing d;
  if (a.size() == 2) c = d.s.colour;
  double px = d.s.pixelX(x), py = d.s.pixelY(y);
  if (allFinite({px, py})) setPixel(d.s.bitmap, d.s.view, toPixel(px), toPixel(py), c);
}

void bi_point(Context &, int line, const Args &a, Value &r) {
  double x = argNumber(line, a[0]), y = argNumber(line, a[1]);
  Drawing d(false);
  double px = d.s.pixelX(x), py = d.s.pixelY(y);
  r = Value::num(-1);
  if (!allFinite({px, py})) return;
  int64_t ix = toPixel(px), iy = toPixel(py);
  if (ix < 0 || iy < 0 || ix >= d.s.bitmap.width || iy >= d.s.bitmap.height) return;
  r = Value::num(d.s.bitmap.at(static_cast<int>(ix), static_cast<int>(iy)));
}

void bi_paint(Context &, int line, const Args &a, Value &r) {
  double x = argNumber(line, a[0]), y = argNumber(line, a[1]);
  Drawing d;
  double px = d.s.pixelX(x), py = d.s.pixelY(y);
  int64_t n = allFinite({px, py}) ? floodFill(d.s.bitmap, d.s.view, px, py, d.s.colour) : 0;
  r = Value::num(static_cast<double>(n));
}

void bi_gpos(Context &, int line, const Args &a, Value &) {
  double x = argNumber(line, a[0]), y = argNumber(line, a[1]);
  Drawing d(false);
  double px = d.s.pixelX(x), py = d.s.pixelY(y);
  if (!allFinite({px, py})) return;
  d.s.textX = toPixel(px);
  d.s.textY = toPixel(py);
}

// Draws at the text position and moves it to the end of the text.
void drawAtTextPosition(Session &s, const std::string &internalText, Value &r) {
  TextExtent e =
      drawText(s.bitmap, s.view, s.textX, s.textY, sjisToUtf8(internalText), s.font, s.colour);
  s.textX = e.endX;
  s.textY = e.endY;
  r = Value::num(static_cast<double>(e.width));
}

void bi_gprint(Context &, int line, const Args &a, Value &r) {
  double x = argNumber(line, a[0]), y = argNumber(line, a[1]);
  std::string text = toText(a[2]);
  Drawing d;
  double px = d.s.pixelX(x), py = d.s.pixelY(y);
  if (!allFinite({px, py})) return;
  d.s.textX = toPixel(px);
  d.s.textY = toPixel(py);
  drawAtTextPosition(d.s, text, r);
}

void bi_gprintf(Context &, int line, const Args &a, Value &r) {
  if (a.size() == 0) raise_error(line, "Too few argument in gprintf()");
  std::string text = format_values(toText(a[0]), a.v, a.size(), 1);
  Drawing d;
  drawAtTextPosition(d.s, text, r);
}

// A style number (bits 1 bold, 2 italic, 4 underline) or words naming them.
int fontStyle(int line, const Value &v) {
  if (asString(v) == nullptr) {
    int32_t n = argInteger(line, v);
    if (n < 0 || n > (kBold | kItalic | kUnderline))
      raise_error(line, "Bad argument range in font()");
    return n;
  }
  int style = 0;
  const std::string &text = toText(v);
  size_t i = 0;
  while (i < text.size()) {
    size_t end = text.find_first_of(" ,", i);
    if (end == std::string::npos) end = text.size();
    std::string word = text.substr(i, end - i);
    for (char &ch : word) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    if (word == "bold")
      style |= kBold;
    else if (word == "italic")
      style |= kItalic;
    else if (word == "underline")
      style |= kUnderline;
    else if (!word.empty() && word != "normal")
      raise_error(line, "Bad argument range in font()");
    i = end + 1;
  }
  return style;
}

void bi_font(Context &, int line, const Args &a, Value &) {
  const std::string name(argString(line, a[0]));
  double size = whole(line, a[1]);
  if (!(size >= 1 && size <= 1000)) raise_error(line, "Bad argument range in font()");
  int style = a.size() == 3 ? fontStyle(line, a[2]) : 0;
  std::lock_guard<std::mutex> lock(sessionLock());
  session().font = FontSpec{name, static_cast<int>(size), style};
}

void bi_update(Context &, int, const Args &a, Value &r) {
  if (a.size() == 0) {
    repaintWindow();
    return;
  }
  std::lock_guard<std::mutex> lock(sessionLock());
  r = Value::boolean(session().autoUpdate);
  session().autoUpdate = truth(a[0]);
}

void bi_gsave(Context &, int line, const Args &a, Value &r) {
  const std::string path(argString(line, a[0]));
  PictureType type = pictureTypeOf(path);
  if (type == PictureType::Unknown) raise_error(line, "Unknown picture file type in gsave()");
  Drawing d(false);
  r = Value::boolean(type == PictureType::Bmp ? writeBmp(path, d.s.bitmap)
                                              : writePng(path, d.s.bitmap));
}

constexpr BuiltinEntry kGraphics[] = {
    {"screen", 2, bi_screen_open},
    {"screen", 0, bi_screen_size},
    {"window", 4, bi_window},
    {"cls", 0, bi_cls},
    {"cls", 1, bi_cls},
    {"cls", 3, bi_cls},
    {"circle", 3, bi_circle},
    {"circle", 5, bi_circle},
    {"circle", 6, bi_circle},
    {"line", 4, bi_line},
    {"box", 4, bi_box},
    {"box", 5, bi_box_coloured},
    {"box", 6, bi_box_coloured},
    {"fill", 4, bi_fill},
    {"fill", 5, bi_fill_coloured},
    {"fill", 6, bi_fill_coloured},
    {"pset", 2, bi_pset},
    {"pset", 3, bi_pset},
    {"point", 2, bi_point},
    {"gpos", 2, bi_gpos},
    {"update", 0, bi_update},
    {"update", 1, bi_update},
    {"gprint", 3, bi_gprint},
    {"gprintf", -1, bi_gprintf},
    {"font", 2, bi_font},
    {"font", 3, bi_font},
    {"color", 3, bi_color},
    {"color", 1, bi_color},
    {"color", 0, bi_color},
    {"paint", 2, bi_paint},
    {"view", 4, bi_view},
    // Beyond the classic set: saving the picture to a file.
    {"gsave", 1, bi_gsave},
};

}  // namespace

std::span<const BuiltinEntry> graphicsBuiltins() { return kGraphics; }

}  // namespace marl
