// Encoding conversion built-ins: encode, decode.
#include "builtins/registry.hpp"
#include "runtime/error.hpp"
#include "io/encoding.hpp"
#include "runtime/conversions.hpp"
#include "runtime/mstring.hpp"

namespace marl {

namespace {

using Converter = std::string (*)(std::string_view);

struct Codec {
  const char *word;
  Converter encode;  // internal -> named encoding; null: unchanged
  Converter decode;  // named encoding -> internal
};

// Looked up in this order, case-sensitively.
constexpr Codec kCodecs[] = {
    {"sjis", nullptr, nullptr},
    {"euc", sjisToEuc, eucToSjis},
    {"utf8", sjisToUtf8, utf8ToSjis},
    {"utf16", sjisToUtf16, utf16ToSjis},
    {"base64", base64Encode, base64Decode},
    {"b64", base64Encode, base64Decode},
};

const Codec *findCodec(std::string_view word) {
  for (const Codec &c : kCodecs)
    if (word == c.word) return &c;
  return nullptr;
}

void bi_encode(Context &, int line, const Args &a, Value &r) {
  std::string_view text = argString(line, a[0]);
  const Codec *c = findCodec(argString(line, a[1]));
  if (!c) raise_error(line, "Unknown encoding type in encode()");
  r = c->encode ? makeString(c->encode(text)) : a[0];
}

void bi_decode(Context &, int line, const Args &a, Value &r) {
  std::string_view bytes = argString(line, a[0]);
  const Codec *c = findCodec(argString(line, a[1]));
  if (!c) raise_error(line, "Unknown encoding type in decode()");
  r = c->decode ? makeString(c->decode(bytes)) : a[0];
}

constexpr BuiltinEntry kEncoding[] = {
    {"encode", 2, bi_encode},
    {"decode", 2, bi_decode},
};

}  // namespace

std::span<const BuiltinEntry> encodingBuiltins() { return kEncoding; }

}  // namespace marl
