// SPDX-License-Identifier: MIT
#include "imaging/png_encoder.h"

#include <isa-l/igzip_lib.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "imaging/colour_order.h"
#include "imaging/mosaic.h"
#include "imaging/sample_order.h"
#include "imaging/time_text.h"

namespace orvik::imaging {
namespace {

// Raw frames are mostly noise: a prediction filter makes them larger, and more search for
// repetitions gains little. In colour images, which are interpolated, a pixel is much like the one
// to its left. docs/resources.md compares.
constexpr std::uint32_t kCompressionLevel = 1;

/// The text chunks and the strings that they point to.
class Texts {
 public:
  explicit Texts(const ImageInfo& info) {
    if (!info.software.empty()) add("Software", info.software);
    if (!info.instrument.empty()) addExposure(info);
    const Processing& done = info.processing;
    if (done.gamma) add("Gamma, 50 is linear", std::to_string(*done.gamma));
    if (done.whiteBalanceRed && done.whiteBalanceBlue) {
      add("White balance, 50 is neutral", std::to_string(*done.whiteBalanceRed) + " red, " +
                                              std::to_string(*done.whiteBalanceBlue) + " blue");
    }
    if (info.flip != 0)
      add("Mirrored", std::string(kFlipNames.at(static_cast<std::size_t>(info.flip & 3))));
    if (done.isDarkSubtracted.value_or(false)) add("Dark frame", "subtracted");
    if (info.mosaic) add("Bayer pattern", std::string(mosaic(*info.mosaic).name));
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
  void addExposure(const ImageInfo& info) {
    add("Source", info.instrument);
    add("Creation Time", utcText(info.start) + " UTC, start of exposure");
    add("Exposure", formatDuration(info.exposure.count()));
    add("Gain", std::to_string(info.gain));
  }

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

/// Where the encoded bytes go. No exception may pass through libpng, which is written in C: it
/// waits here.
struct Target {
  ByteSink& sink;
  std::exception_ptr fault;
};

void append(png_structp png, png_bytep data, std::size_t size) {
  auto& target = *static_cast<Target*>(png_get_io_ptr(png));
  try {
    target.sink.write({data, size});
  } catch (...) {
    target.fault = std::current_exception();
  }
  if (target.fault) png_error(png, "the bytes cannot be written");
}

void flush(png_structp /*png*/) {}

/// The stream of compressed rows. Rows are gathered into blocks, which the compressor takes at
/// once.
class Rows {
 public:
  explicit Rows(const Image& image)
      : image_(image),
        type_(imageType(image.info.type)),
        rowBytes_(imageBytes(image.info.width, 1, image.info.type)),
        height_(static_cast<std::size_t>(image.info.height)),
        rowsAtOnce_(std::clamp<std::size_t>(kBlock / (rowBytes_ + 1), 1, height_)),
        block_(rowsAtOnce_ * (rowBytes_ + 1)),
        level_(ISAL_DEF_LVL1_DEFAULT),
        out_(kBlock),
        stream_(std::make_unique<isal_zstream>()) {
    isal_deflate_init(stream_.get());
    stream_->level = kCompressionLevel;
    stream_->level_buf = level_.data();
    stream_->level_buf_size = static_cast<std::uint32_t>(level_.size());
    stream_->gzip_flag = IGZIP_ZLIB;
    stream_->hist_bits = kWindowBits;
  }

  /// @return the next piece of the stream; empty at its end
  std::span<const std::uint8_t> next() {
    stream_->next_out = out_.data();
    stream_->avail_out = static_cast<std::uint32_t>(out_.size());
    while (stream_->avail_out > 0 && stream_->internal_state.state != ZSTATE_END) {
      if (stream_->avail_in == 0 && row_ < height_) gather();
      // It fails only if the stream is used wrongly.
      if (isal_deflate(stream_.get()) != COMP_OK) throw std::logic_error("cannot compress");
    }
    return std::span(out_).first(out_.size() - stream_->avail_out);
  }

 private:
  static constexpr std::size_t kBlock = std::size_t{128} << 10;
  static constexpr std::uint16_t kWindowBits = 15;

  /// Makes the next block of rows.
  void gather() {
    const std::size_t rows = std::min(rowsAtOnce_, height_ - row_);
    std::uint8_t* to = block_.data();
    for (const std::size_t end = row_ + rows; row_ < end; ++row_) {
      *to++ = type_.isColour ? PNG_FILTER_VALUE_SUB : PNG_FILTER_VALUE_NONE;
      copy(image_.pixels.subspan(row_ * rowBytes_, rowBytes_), {to, rowBytes_});
      to += rowBytes_;
    }
    stream_->next_in = block_.data();
    stream_->avail_in = static_cast<std::uint32_t>(rows * (rowBytes_ + 1));
    stream_->end_of_stream = row_ == height_ ? 1 : 0;
  }

  /// Makes a row of the file.
  void copy(std::span<const std::uint8_t> row, std::span<std::uint8_t> to) const {
    if (type_.isColour) {
      toColourSteps(row, to);
    } else if (type_.bitsPerSample == 16) {
      toBigEndian(row, to);
    } else {
      std::ranges::copy(row, to.begin());
    }
  }

  const Image& image_;
  ImageType type_;
  std::size_t rowBytes_;
  std::size_t height_;
  std::size_t rowsAtOnce_;
  std::size_t row_ = 0;
  std::vector<std::uint8_t> block_;
  std::vector<std::uint8_t> level_;  // memory of the compressor
  std::vector<std::uint8_t> out_;
  std::unique_ptr<isal_zstream> stream_;
};

/// Calls a function that uses libpng; false when libpng gave up.
///
/// libpng reports errors by a long jump back into this function, so that nothing in it and in what
/// it calls may need a destructor.
template <typename Function>
bool attempt(png_structp png, Function function) {
  if (setjmp(png_jmpbuf(png)) != 0) return false;
  function();
  return true;
}

void writeHeader(const Encoder& encoder, const ImageInfo& image,
                 const std::vector<png_text>& texts) {
  png_structp png = encoder.png();
  png_infop info = encoder.info();
  const ImageType type = imageType(image.type);
  png_set_IHDR(png, info, static_cast<png_uint_32>(image.width),
               static_cast<png_uint_32>(image.height), type.bitsPerSample,
               type.isColour ? PNG_COLOR_TYPE_RGB : PNG_COLOR_TYPE_GRAY, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_text(png, info, texts.data(), static_cast<int>(texts.size()));
  png_write_info(png, info);
}

void writeChunk(png_structp png, const char* name, std::span<const std::uint8_t> bytes) {
  std::array<png_byte, 4> type{};
  std::memcpy(type.data(), name, type.size());
  png_write_chunk(png, type.data(), bytes.data(), bytes.size());
}

}  // namespace

void encodePng(const Image& image, ByteSink& sink) {
  requireWhole(image);
  const Encoder encoder;
  png_structp png = encoder.png();
  const Texts texts(image.info);
  Rows rows(image);
  Target target{sink, {}};
  const auto require = [&](bool isDone) {
    if (target.fault) std::rethrow_exception(target.fault);
    if (!isDone) throw std::bad_alloc();
  };
  png_set_write_fn(png, &target, append, flush);
  require(attempt(png, [&] { writeHeader(encoder, image.info, texts.chunks()); }));
  for (auto piece = rows.next(); !piece.empty(); piece = rows.next()) {
    require(attempt(png, [&] { writeChunk(png, "IDAT", piece); }));
  }
  require(attempt(png, [&] { writeChunk(png, "IEND", {}); }));
}

}  // namespace orvik::imaging
