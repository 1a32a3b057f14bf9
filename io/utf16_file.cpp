// UTF-16LE line reading and writing for MFileUtf16.
#include "io/encoding.hpp"
#include "io/file.hpp"

namespace marl {

namespace {

inline void putUnit(std::string &units, unsigned u) {
  units.push_back(static_cast<char>(u & 0xFF));
  units.push_back(static_cast<char>(u >> 8));
}

// One unit, or -1 when the two bytes of a unit cannot be read.
inline int readUnit(Stream &s) {
  int lo = s.getc();
  if (lo < 0) return -1;
  int hi = s.getc();
  if (hi < 0) return -1;
  return lo | (hi << 8);
}

}  // namespace

std::string MFileUtf16::getline() {
  if (!fp) return "";
  // The bytes come through the stream in its own mode, as on the original
  // platform; the mode also decides how the units end a line.
  bool text = fp->textMode();
  std::string units;
  for (int u; (u = readUnit(*fp)) >= 0;) {
    // Byte-order marks are dropped anywhere, in either order; nothing is swapped.
    if (u == 0xFEFF || u == 0xFFFE) continue;
    if (text && u == '\r') {
      // The unit after a CR is taken to be its LF and is not looked at.
      putUnit(units, '\n');
      readUnit(*fp);
      break;
    }
    putUnit(units, static_cast<unsigned>(u));
    if (u == '\n') break;
  }
  return utf16ToSjis(units);
}

bool MFileUtf16::puts(std::string_view text) {
  if (!fp) return false;
  std::string units = sjisToUtf16(text);
  bool textMode = fp->textMode();
  std::string bytes;
  bytes.reserve(units.size() + units.size() / 8 + 2);
  // A file rewound and written again gets a new mark.
  if (fp->tell() == 0) bytes = "\xFF\xFE";
  for (size_t i = 0; i < units.size(); i += 2) {
    if (textMode && units[i] == '\n' && units[i + 1] == '\0') bytes.append("\r\0", 2);
    bytes.append(units, i, 2);
  }
  // Units are written as they are: the byte-level translation is off meanwhile.
  fp->setTextMode(false);
  fp->write(bytes);
  fp->setTextMode(textMode);
  return units.size() >= 2;
}

}  // namespace marl
