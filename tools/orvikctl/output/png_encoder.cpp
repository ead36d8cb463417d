// SPDX-License-Identifier: MIT
#include "tools/orvikctl/output/png_writer.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "tools/orvikctl/output/atomic_file.h"
#include "tools/orvikctl/output/mosaic.h"
#include "tools/orvikctl/output/software.h"
#include "tools/orvikctl/output/time_text.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {
namespace {

// Frames are mostly noise. On 16-bit noise, 1304 x 976 pixels, level 6 took about twenty
// times as long as level 1 for 2 % less, and a prediction filter only made the file larger.
constexpr int kCompressionLevel = 1;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};

/// The text chunks and the strings that they point to.
class Texts {
 public:
  explicit Texts(const ImageInfo& info) {
    add("Software", kSoftware);
    add("Source", info.instrument);
    add("Creation Time", utcText(info.start) + " UTC, start of exposure");
    add("Exposure", formatDuration(info.exposure.count()));
    add("Gain", std::to_string(info.gain));
    if (info.mosaic) add("Bayer pattern", std::string(mosaicName(*info.mosaic)));
    chunks_.resize(pairs_.size());
    for (std::size_t i = 0; i < pairs_.size(); ++i) {
      chunks_[i] = {};
      chunks_[i].compression = PNG_TEXT_COMPRESSION_NONE;
      chunks_[i].key = pairs_[i].key.data();
      chunks_[i].text = pairs_[i].text.data();
    }
  }

  [[nodiscard]] const std::vector<png_text>& chunks() const { return chunks_; }

 private:
  struct Pair {
    std::string key;
    std::string text;
  };

  void add(const char* key, std::string text) { pairs_.push_back({key, std::move(text)}); }

  std::vector<Pair> pairs_;
  std::vector<png_text> chunks_;
};

/// libpng's two records, freed together.
class Encoder {
 public:
  Encoder() : png_(png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, giveUp, ignore)) {
    if (png_ != nullptr) info_ = png_create_info_struct(png_);
    if (info_ == nullptr) {
      png_destroy_write_struct(&png_, nullptr);
      throw std::bad_alloc();
    }
  }
  ~Encoder() { png_destroy_write_struct(&png_, &info_); }
  Encoder(const Encoder&) = delete;
  Encoder& operator=(const Encoder&) = delete;

  [[nodiscard]] png_structp png() const { return png_; }
  [[nodiscard]] png_infop info() const { return info_; }

 private:
  // libpng's own handlers print.
  [[noreturn]] static void giveUp(png_structp png, png_const_charp /*error*/) {
    png_longjmp(png, 1);
  }
  static void ignore(png_structp /*png*/, png_const_charp /*warning*/) {}

  png_structp png_ = nullptr;
  png_infop info_ = nullptr;
};

/// Encodes into an open file; false when libpng gave up.
///
/// libpng reports errors by a long jump back into this function, so that nothing in it may need a
/// destructor.
bool encode(const Encoder& encoder, const Image& image, const std::vector<png_text>& texts,
            std::FILE* file) {
  png_structp png = encoder.png();
  png_infop info = encoder.info();
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  png_init_io(png, file);
  const bool isColour = image.info.type == Orvik_IMG_RGB24;
  const bool is16Bit = image.info.type == Orvik_IMG_RAW16;
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.info.width),
               static_cast<png_uint_32>(image.info.height), is16Bit ? 16 : 8,
               isColour ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_text(png, info, texts.data(), static_cast<int>(texts.size()));
  png_set_compression_level(png, kCompressionLevel);
  png_set_filter(png, PNG_FILTER_TYPE_BASE, PNG_FILTER_NONE);
  png_write_info(png, info);
  if (is16Bit) png_set_swap(png);
  if (isColour) png_set_bgr(png);
  const std::size_t rowBytes = imageBytes(image.info.width, 1, image.info.type);
  for (int row = 0; row < image.info.height; ++row) {
    png_write_row(png, image.pixels.data() + static_cast<std::size_t>(row) * rowBytes);
  }
  png_write_end(png, nullptr);
  return true;
}

}  // namespace

void PngWriter::write(const Image& image, const std::filesystem::path& file) {
  requireWhole(image);
  std::unique_ptr<std::FILE, CloseFile> out(std::fopen(file.c_str(), "wb"));
  if (!out) failWrite(file, errno);
  const Encoder encoder;
  const Texts texts(image.info);
  errno = 0;
  if (!encode(encoder, image, texts.chunks(), out.get())) failWrite(file, errno != 0 ? errno : EIO);
  if (std::fclose(out.release()) != 0) failWrite(file, errno);
}

}  // namespace orvik::ctl
