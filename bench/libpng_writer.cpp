// SPDX-License-Identifier: MIT
#include "bench/libpng_writer.h"

#include <png.h>

#include <cstdio>
#include <stdexcept>

namespace orvik::bench {
namespace {

/// False when libpng gave up; nothing in here has a destructor.
bool encode(png_structp png, png_infop info, const imaging::Image& image, int level,
            std::FILE* out) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  const int bits = imaging::imageType(image.info.type).bitsPerSample;
  png_init_io(png, out);
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.info.width),
               static_cast<png_uint_32>(image.info.height), bits, PNG_COLOR_TYPE_GRAY,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, level);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
  png_write_info(png, info);
  if (bits == 16) png_set_swap(png);
  const std::size_t rowBytes = imageBytes(image.info.width, 1, image.info.type);
  for (std::size_t at = 0; at < image.pixels.size(); at += rowBytes) {
    png_write_row(png, image.pixels.data() + at);
  }
  png_write_end(png, nullptr);
  return true;
}

}  // namespace

void LibpngWriter::write(const imaging::Image& image) {
  const auto name = pattern_.name(static_cast<std::int64_t>(files_.size()) + 1);
  std::FILE* const out = std::fopen(name.c_str(), "wb");
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  const bool isWritten = out != nullptr && encode(png, info, image, level_, out);
  png_destroy_write_struct(&png, &info);
  if (out == nullptr || std::fclose(out) != 0 || !isWritten) {
    throw std::runtime_error("cannot write " + name.string());
  }
  files_.push_back(name);
}

}  // namespace orvik::bench
