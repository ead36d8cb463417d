// SPDX-License-Identifier: MIT
#include <png.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>
#include <stdexcept>

#include "imaging/fits_encoder.h"
#include "imaging/png_encoder.h"
#include "tests/imaging/test_image.h"

namespace orvik::imaging {
namespace {

struct ReadPng {
  int depth = 0;
  int colourType = 0;
  std::vector<std::vector<std::uint8_t>> rows;
  std::map<std::string, std::string> texts;
};

ReadPng readPng(std::vector<std::uint8_t> bytes) {
  ReadPng result;
  std::FILE* in = fmemopen(bytes.data(), bytes.size(), "rb");
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
  png_infop info = png_create_info_struct(png);
  png_init_io(png, in);
  png_read_png(png, info, PNG_TRANSFORM_IDENTITY, nullptr);
  result.depth = png_get_bit_depth(png, info);
  result.colourType = png_get_color_type(png, info);
  for (std::size_t y = 0; y < png_get_image_height(png, info); ++y) {
    const png_bytep row = png_get_rows(png, info)[y];
    result.rows.emplace_back(row, row + png_get_rowbytes(png, info));
  }
  png_textp texts = nullptr;
  int count = 0;
  png_get_text(png, info, &texts, &count);
  for (int i = 0; i < count; ++i) result.texts[texts[i].key] = texts[i].text;
  png_destroy_read_struct(&png, &info, nullptr);
  std::fclose(in);
  return result;
}

TEST(EncodePng, WritesGreyAsDelivered) {
  TestImage image(5, 3, Orvik_IMG_RAW8);
  image.info.mosaic = BAYER_GR;
  const ReadPng read = readPng(encoded(encodePng, image.image()));
  EXPECT_EQ(read.depth, 8);
  EXPECT_EQ(read.colourType, PNG_COLOR_TYPE_GRAY);
  ASSERT_EQ(read.rows.size(), 3u);
  EXPECT_EQ(read.rows[2], std::vector<std::uint8_t>(image.bytes.begin() + 10, image.bytes.end()));
  EXPECT_EQ(read.texts.at("Bayer pattern"), "GRBG");
  EXPECT_EQ(read.texts.at("Exposure"), "2.5 s");
}

TEST(EncodePng, Writes16BitsBigEndian) {
  const TestImage image(4, 2, Orvik_IMG_RAW16);
  const ReadPng read = readPng(encoded(encodePng, image.image()));
  EXPECT_EQ(read.depth, 16);
  EXPECT_EQ(read.colourType, PNG_COLOR_TYPE_GRAY);
  for (std::size_t i = 0; i < 8; ++i) {
    const auto& row = read.rows.at(i / 4);
    EXPECT_EQ(row.at(2 * (i % 4)) * 256 + row.at(2 * (i % 4) + 1), image.word(i)) << i;
  }
}

TEST(EncodePng, TurnsBlueGreenRedAround) {
  const TestImage image(2, 2, Orvik_IMG_RGB24);
  const ReadPng read = readPng(encoded(encodePng, image.image()));
  EXPECT_EQ(read.colourType, PNG_COLOR_TYPE_RGB);
  const auto& in = image.bytes;
  EXPECT_EQ(read.rows.at(1),
            (std::vector<std::uint8_t>{in[8], in[7], in[6], in[11], in[10], in[9]}));
}

TEST(EncodePng, KeepsEverySampleOfImagesThatTakeSeveralPieces) {
  std::mt19937 random(1);  // noise, so that the compressed stream is long too
  for (const IMG_TYPE type : {Orvik_IMG_RAW8, Orvik_IMG_RAW16, Orvik_IMG_RGB24}) {
    for (const auto& [width, height] : {std::pair{1, 1}, {977, 613}, {140'001, 3}}) {
      TestImage image(width, height, type);
      for (std::uint8_t& byte : image.bytes) byte = static_cast<std::uint8_t>(random());
      const ReadPng read = readPng(encoded(encodePng, image.image()));
      std::vector<std::uint8_t> bytes;
      for (const auto& row : read.rows) bytes.insert(bytes.end(), row.begin(), row.end());
      const std::size_t step = type == Orvik_IMG_RAW16 ? 2 : type == Orvik_IMG_RGB24 ? 3 : 1;
      for (std::size_t i = 0; i + step <= bytes.size(); i += step) {
        std::reverse(bytes.begin() + static_cast<std::ptrdiff_t>(i),
                     bytes.begin() + static_cast<std::ptrdiff_t>(i + step));
      }
      EXPECT_TRUE(bytes == image.bytes) << type << ' ' << width << 'x' << height;
    }
  }
}

TEST(Encoders, PassOnWhatTheSinkThrows) {
  struct FullDisk : ByteSink {
    std::size_t room = 0;
    void write(std::span<const std::uint8_t> bytes) override {
      if (bytes.size() > room) throw std::length_error("full");
      room -= bytes.size();
    }
  };
  const TestImage image(977, 613, Orvik_IMG_RAW16);
  for (const ImageEncoder encode : {encodePng, encodeFits}) {
    const std::size_t size = encoded(encode, image.image()).size();
    for (const std::size_t room : {std::size_t{0}, std::size_t{9000}, size / 2, size - 1}) {
      FullDisk disk;
      disk.room = room;
      EXPECT_THROW(encode(image.image(), disk), std::length_error) << room << " of " << size;
    }
  }
}

}  // namespace
}  // namespace orvik::imaging
