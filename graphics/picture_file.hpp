// Writing the picture to BMP (24-bit, bottom-up) and PNG files.
#pragma once
#include <string>

#include "graphics/bitmap.hpp"

namespace marl::gfx {

enum class PictureType { Unknown, Bmp, Png };

// By the file name's ending, ".bmp" or ".png" in either case.
PictureType pictureTypeOf(const std::string &path);

// False when the file cannot be written.
bool writeBmp(const std::string &path, const Bitmap &b);
bool writePng(const std::string &path, const Bitmap &b);

}  // namespace marl::gfx
