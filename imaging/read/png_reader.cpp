// SPDX-License-Identifier: MIT
#include "imaging/read/png_reader.h"

#include <png.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>

#include "imaging/header_text.h"

namespace orvik::imaging {
namespace {

constexpr png_uint_32 kLongestSide = 1'000'000;
// Longer than any row. libpng would take what a damaged text chunk says.
constexpr png_alloc_size_t kMostAtOnce = 64'000'000;

/// libpng's two records, the place in the file, and what went wrong.
class Decoder {
 public:
  explicit Decoder(ByteSource& source)
      : source_(source),
        png_(png_create_read_struct_2(PNG_LIBPNG_VER_STRING, this, giveUp, ignore, nullptr, take,
                                      give)) {
    if (png_ != nullptr) info_ = png_create_info_struct(png_);
    if (info_ == nullptr) {
      png_destroy_read_struct(&png_, nullptr, nullptr);
      throw std::bad_alloc();
    }
  }
  ~Decoder() { png_destroy_read_struct(&png_, &info_, nullptr); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  [[nodiscard]] png_structp png() const { return png_; }
  [[nodiscard]] png_infop info() const { return info_; }

  /// Reads the header and asks for 8 or 16 bits, grey or blue, green, red. False when libpng gave
  /// up. libpng reports errors by a long jump back into this function, so that nothing in it may
  /// need a destructor.
  bool begin() {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_set_read_fn(png_, this, read);
    png_set_user_limits(png_, kLongestSide, kLongestSide);
    png_read_info(png_, info_);
    png_set_expand(png_);
    if ((png_get_color_type(png_, info_) & PNG_COLOR_MASK_ALPHA) != 0 ||
        png_get_valid(png_, info_, PNG_INFO_tRNS) != 0) {
      const png_color_16 black{};
      png_set_background(png_, &black, PNG_BACKGROUND_GAMMA_SCREEN, 0, 1.0);
    }
    if (png_get_bit_depth(png_, info_) == 16) png_set_swap(png_);
    png_set_bgr(png_);
    png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    return true;
  }

  /// The pixels, then what follows them. As begin().
  bool finish(png_bytepp rows) {
    if (setjmp(png_jmpbuf(png_)) != 0) return false;
    png_read_image(png_, rows);
    png_read_end(png_, info_);
    return true;
  }

  [[noreturn]] void fail() const {
    if (readFault_) std::rethrow_exception(readFault_);
    source_.fail("it is damaged or cut short (" + headerText(message_.data()) + ")");
  }

 private:
  // libpng's own handlers print.
  [[noreturn]] static void giveUp(png_structp png, png_const_charp error) {
    auto& self = *static_cast<Decoder*>(png_get_error_ptr(png));
    std::strncpy(self.message_.data(), error, self.message_.size() - 1);
    png_longjmp(png, 1);
  }
  static void ignore(png_structp /*png*/, png_const_charp /*warning*/) {}

  static png_voidp take(png_structp /*png*/, png_alloc_size_t size) {
    return size <= kMostAtOnce ? std::malloc(size) : nullptr;
  }
  static void give(png_structp /*png*/, png_voidp memory) { std::free(memory); }

  /// No exception may leave it: libpng is written in C.
  static void read(png_structp png, png_bytep data, std::size_t size) {
    auto& self = *static_cast<Decoder*>(png_get_io_ptr(png));
    std::size_t count = 0;
    try {
      count = self.source_.readSome(self.at_, {data, size});
    } catch (...) {
      self.readFault_ = std::current_exception();
    }
    self.at_ += count;
    if (count < size) png_error(png, "the file ends early");
  }

  ByteSource& source_;
  png_structp png_;
  png_infop info_ = nullptr;
  std::uint64_t at_ = 0;
  std::array<char, 128> message_{};
  std::exception_ptr readFault_;
};

void takeTexts(const Decoder& decoder, ReadImage& image) {
  png_textp texts = nullptr;
  const int count = png_get_text(decoder.png(), decoder.info(), &texts, nullptr);
  for (int i = 0; i < count; ++i) {
    const std::string_view key = texts[i].key;
    const std::string_view text = texts[i].text == nullptr ? "" : texts[i].text;
    if (key == "Bayer pattern" && image.type != Orvik_IMG_RGB24) image.mosaic = mosaicNamed(text);
    for (const auto& [of, name] : {std::pair{"Source", "camera"},
                                   {"Creation Time", "start"},
                                   {"Exposure", "exposure"},
                                   {"Gain", "gain"}}) {
      if (key == of) image.facts.emplace_back(name, headerText(text));
    }
  }
}

}  // namespace

ReadImage readPng(ByteSource& source) {
  Decoder decoder(source);
  if (!decoder.begin()) decoder.fail();
  const int channels = png_get_channels(decoder.png(), decoder.info());
  const int bits = png_get_bit_depth(decoder.png(), decoder.info());
  const png_uint_32 width = png_get_image_width(decoder.png(), decoder.info());
  const png_uint_32 height = png_get_image_height(decoder.png(), decoder.info());
  ReadImage image;
  if ((channels != 1 && channels != 3) || (bits != 8 && bits != 16)) {
    source.fail("its kind of pixels is not known");
  }
  constexpr double kMostCompression = 1100;  // deflate makes at most 1032 bytes of one
  allocate(image,
           {width, height, channels, bits,
            double(width) * height * channels * bits / 8 / kMostCompression},
           source);
  const std::size_t rowBytes = image.pixels.size() / height;
  if (png_get_rowbytes(decoder.png(), decoder.info()) != rowBytes) {
    source.fail("its kind of pixels is not known");
  }
  std::vector<png_bytep> rows(height);
  for (std::size_t y = 0; y < rows.size(); ++y) rows[y] = image.pixels.data() + y * rowBytes;
  if (!decoder.finish(rows.data())) decoder.fail();
  image.format = "PNG, " + std::to_string(bits) + " bits";
  takeTexts(decoder, image);
  return image;
}

}  // namespace orvik::imaging
