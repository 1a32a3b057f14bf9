// BMP written by hand (any viewer reads the plain 24-bit form); PNG by cairo.
#include "graphics/picture_file.hpp"

#include <cairo.h>

#include <cstdio>
#include <memory>
#include <strings.h>
#include <vector>

#include "graphics/toolkit_calls.hpp"

namespace marl::gfx {

namespace {

void put16(std::vector<unsigned char> &out, uint32_t v) {
  out.push_back(v & 0xFF);
  out.push_back((v >> 8) & 0xFF);
}
void put32(std::vector<unsigned char> &out, uint32_t v) {
  put16(out, v & 0xFFFF);
  put16(out, v >> 16);
}

bool endsWith(const std::string &s, const char *suffix) {
  size_t n = std::char_traits<char>::length(suffix);
  return s.size() >= n && strcasecmp(s.c_str() + s.size() - n, suffix) == 0;
}

}  // namespace

PictureType pictureTypeOf(const std::string &path) {
  if (endsWith(path, ".bmp")) return PictureType::Bmp;
  if (endsWith(path, ".png")) return PictureType::Png;
  return PictureType::Unknown;
}

bool writeBmp(const std::string &path, const Bitmap &b) {
  const uint32_t rowBytes = (static_cast<uint32_t>(b.width) * 3 + 3) & ~3u;
  const uint32_t dataBytes = rowBytes * static_cast<uint32_t>(b.height);
  std::vector<unsigned char> out;
  out.reserve(54 + dataBytes);
  out.push_back('B');
  out.push_back('M');
  put32(out, 54 + dataBytes);  // file size
  put32(out, 0);
  put32(out, 54);  // offset of the pixels
  put32(out, 40);  // BITMAPINFOHEADER
  put32(out, static_cast<uint32_t>(b.width));
  put32(out, static_cast<uint32_t>(b.height));  // positive: bottom row first
  put16(out, 1);                                // planes
  put16(out, 24);                               // bits per pixel
  put32(out, 0);                                // no compression
  put32(out, dataBytes);
  put32(out, 2835);  // 72 dpi
  put32(out, 2835);
  put32(out, 0);
  put32(out, 0);
  for (int y = b.height - 1; y >= 0; y--) {
    size_t start = out.size();
    for (int x = 0; x < b.width; x++) {
      uint32_t p = b.at(x, y);
      out.push_back(p & 0xFF);
      out.push_back((p >> 8) & 0xFF);
      out.push_back((p >> 16) & 0xFF);
    }
    out.resize(start + rowBytes, 0);
  }
  std::unique_ptr<FILE, int (*)(FILE *)> f(std::fopen(path.c_str(), "wb"), std::fclose);
  if (!f) return false;
  if (std::fwrite(out.data(), 1, out.size(), f.get()) != out.size()) return false;
  return std::fclose(f.release()) == 0;
}

bool writePng(const std::string &path, const Bitmap &b) {
  if (b.width <= 0 || b.height <= 0 || !loadDrawing()) return false;
  // cairo only reads the pixels, through a surface over a copy.
  std::vector<uint32_t> copy(b.pixels);
  cairo_surface_t *s =
      cairo_image_surface_create_for_data(reinterpret_cast<unsigned char *>(copy.data()),
                                          CAIRO_FORMAT_RGB24, b.width, b.height, b.width * 4);
  cairo_status_t st = cairo_surface_write_to_png(s, path.c_str());
  cairo_surface_destroy(s);
  return st == CAIRO_STATUS_SUCCESS;
}

}  // namespace marl::gfx
