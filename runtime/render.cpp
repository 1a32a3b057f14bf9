// The structural rendering the console shows results in: strings quoted and
// escaped, arrays and hashes with their elements.
#include "runtime/conversions.hpp"
#include "runtime/marray.hpp"
#include "runtime/mhash.hpp"
#include "runtime/mstring.hpp"
#include "runtime/sjis.hpp"

namespace marl {

namespace {

// Nesting deeper than ten levels (a container holding itself included)
// renders as "...".
constexpr int kMaxDepth = 11;
// A container that holds itself several times would render exponentially
// many copies before the depth cut; past this size the remaining elements of
// every open container collapse into one "...".
constexpr size_t kMaxRenderBytes = size_t{1} << 24;

// Printable in the internal encoding: ASCII graphics and space, and the
// single-byte half-width katakana.
inline bool isPrintable(unsigned char c) {
  return (c >= 0x20 && c <= 0x7E) || (c >= 0xA1 && c <= 0xDF);
}

void appendQuoted(std::string &out, std::string_view bytes) {
  static const char hex[] = "0123456789abcdef";
  out += '"';
  for (size_t i = 0; i < bytes.size(); i++) {
    unsigned char c = static_cast<unsigned char>(bytes[i]);
    if (sjisCharLength(bytes, i) == 2) {
      out.append(bytes.data() + i, 2);
      i++;
      continue;
    }
    if (isPrintable(c)) {
      out += static_cast<char>(c);
      continue;
    }
    out += '\\';
    switch (c) {
      case 0:
        out += '0';
        break;
      case 7:
        out += 'a';
        break;
      case 8:
        out += 'b';
        break;
      case 9:
        out += 't';
        break;
      case 10:
        out += 'n';
        break;
      case 11:
        out += 'v';
        break;
      case 12:
        out += 'f';
        break;
      case 13:
        out += 'r';
        break;
      default:
        out += 'x';
        out += hex[c >> 4];
        out += hex[c & 0xF];
    }
  }
  out += '"';
}

// Recursion is bounded by kMaxDepth, whatever the script built.
void appendInspect(std::string &out, const Value &v, int depth) {
  if (depth >= kMaxDepth) {
    out += "...";
    return;
  }
  if (const MString *s = asString(v)) {
    appendQuoted(out, s->text);
  } else if (const MArray *a = asArray(v)) {
    out += "[ ";
    for (size_t i = 0; i < a->items.size(); i++) {
      if (i) out += ", ";
      if (out.size() >= kMaxRenderBytes) {
        out += "...";
        break;
      }
      appendInspect(out, a->items[i].get(), depth + 1);
    }
    out += " ]";
  } else if (const MHash *h = asHash(v)) {
    out += "hash( ";
    bool firstEntry = true;
    for (const auto &[key, value] : h->entries) {
      if (!firstEntry) out += ", ";
      firstEntry = false;
      if (out.size() >= kMaxRenderBytes) {
        out += "...";
        break;
      }
      appendQuoted(out, key);
      out += '=';
      appendInspect(out, value.get(), depth + 1);
    }
    out += " )";
  } else {
    appendText(out, v);
  }
}

}  // namespace

std::string toInspectText(const Value &v, int depth) {
  std::string out;
  appendInspect(out, v, depth < 0 ? 0 : depth);
  return out;
}

std::string quoteText(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() + 2);
  appendQuoted(out, bytes);
  return out;
}

}  // namespace marl
