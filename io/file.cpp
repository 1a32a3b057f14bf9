// File objects: the byte-line classes and the factories.
#include "io/file.hpp"

#include "io/encoding.hpp"

namespace marl {

MFile::~MFile() {
  if (fp == &own_) own_.close();
}

bool MFile::open(const std::string &name, std::string_view mode) {
  if (fp) close();
  if (!own_.open(name, mode)) return false;
  fp = &own_;
  owns = true;
  if (binary) binmode();
  return true;
}

int MFile::close() {
  if (!fp) return -1;
  int r = owns ? fp->close() : -1;
  fp = nullptr;
  return r;
}

void MFile::attach(Stream &stream) {
  // A stream the object opened itself would otherwise stay open unreachable.
  if (fp == &own_) own_.close();
  fp = &stream;
  owns = false;
  // The process streams start in binary mode; the flag takes that over so
  // that re-opening stdin or stdout on a file keeps it binary.
  if (binary)
    binmode();
  else
    binary = !stream.textMode();
}

std::string MFile::getline() {
  std::string line;
  if (!fp) return line;
  fp->readLine(line);
  return decode_ && !line.empty() ? decode_(line) : line;
}

bool MFile::puts(std::string_view text) {
  if (!fp) return false;
  if (!encode_) return fp->write(text) > 0;
  return fp->write(encode_(text)) > 0;
}

std::string MFile::read(long long count) {
  std::string bytes;
  // The string grows with what arrives, so a huge count costs nothing.
  if (fp && count > 0) fp->read(bytes, static_cast<size_t>(count));
  return bytes;
}

long long MFile::write(std::string_view bytes) {
  return fp ? static_cast<long long>(fp->write(bytes)) : 0;
}

bool MFile::eof() { return fp ? fp->eof() : true; }

bool MFile::rewind() { return fp && fp->rewind(); }

bool MFile::flush() { return fp && fp->flush(); }

bool MFile::binmode() {
  if (!fp) return false;
  fp->flush();
  fp->setTextMode(false);
  binary = true;
  return true;
}

bool MFile::txtmode() {
  if (!fp) return false;
  fp->flush();
  fp->setTextMode(true);
  binary = false;
  return true;
}

MFileEuc::MFileEuc() : MFile(eucToSjis, sjisToEuc) {}

MFileUtf8::MFileUtf8() : MFile(utf8ToSjis, sjisToUtf8) {}

namespace {

bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); i++) {
    char c = a[i];
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c != b[i]) return false;
  }
  return true;
}

MFile *makeByWord(std::string_view word, bool anyCase) {
  auto is = [&](std::string_view w) { return anyCase ? equalsIgnoringCase(word, w) : word == w; };
  if (is("sjis")) return new MFileSjis;
  if (is("euc")) return new MFileEuc;
  if (is("utf8")) return new MFileUtf8;
  if (is("utf16")) return new MFileUtf16;
  return nullptr;
}

}  // namespace

MFile *makeFileObject(std::string_view encodingWord) { return makeByWord(encodingWord, false); }

MFile *makeStreamFilter(std::string_view encodingWord) { return makeByWord(encodingWord, true); }

}  // namespace marl
