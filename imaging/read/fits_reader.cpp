// SPDX-License-Identifier: MIT
#include "imaging/read/fits_reader.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstring>
#include <limits>
#include <string_view>

#include "imaging/header_text.h"
#include "imaging/read/fits_header.h"
#include "imaging/time_text.h"

namespace orvik::imaging {
namespace {

constexpr double kWhite = 65535;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

/// Whether the values are the stored numbers plus something.
bool isPlain(const FitsHeader& header, int bitpix, double zero) {
  return header.bitpix() == bitpix && header.number("BZERO").value_or(0) == zero &&
         header.number("BSCALE").value_or(1) == 1;
}

/// The number in some big-endian bytes.
template <typename Number, typename Bits>
double numberAt(const std::uint8_t* bytes) {
  Bits bits = 0;
  for (std::size_t i = 0; i < sizeof bits; ++i) bits = static_cast<Bits>(bits << 8U | bytes[i]);
  return static_cast<double>(std::bit_cast<Number>(bits));
}

/// Reads rows of values as numbers.
class Values {
 public:
  Values(ByteSource& source, const FitsHeader& header)
      : source_(source),
        header_(header),
        bitpix_(header.bitpix()),
        zero_(header.number("BZERO").value_or(0)),
        scale_(header.number("BSCALE").value_or(1)),
        blank_(bitpix_ > 0 ? header.number("BLANK").value_or(kNone) : kNone),
        bytes_(static_cast<std::size_t>(header.axes()[0]) *
               static_cast<std::size_t>(std::abs(bitpix_) / 8)),
        numbers_(static_cast<std::size_t>(header.axes()[0])) {}

  /// A row of a plane; NaN stands for what is no number. Valid until the next call.
  const std::vector<double>& row(std::uint64_t y, std::uint64_t plane) {
    const std::uint64_t index = plane * header_.axes()[1] + y;
    source_.readAll(header_.dataBegin() + index * bytes_.size(), bytes_);
    switch (bitpix_) {
      case 8:
        return convert(numberAt<std::uint8_t, std::uint8_t>);
      case 16:
        return convert(numberAt<std::int16_t, std::uint16_t>);
      case 32:
        return convert(numberAt<std::int32_t, std::uint32_t>);
      case 64:
        return convert(numberAt<std::int64_t, std::uint64_t>);
      case -32:
        return convert(numberAt<float, std::uint32_t>);
      default:
        return convert(numberAt<double, std::uint64_t>);
    }
  }

 private:
  template <typename Function>
  const std::vector<double>& convert(Function numberAt) {
    const std::size_t step = bytes_.size() / numbers_.size();
    for (std::size_t x = 0; x < numbers_.size(); ++x) {
      const double stored = numberAt(bytes_.data() + x * step);
      numbers_[x] = stored == blank_ ? kNone : zero_ + scale_ * stored;
    }
    return numbers_;
  }

  ByteSource& source_;
  const FitsHeader& header_;
  int bitpix_;
  double zero_;
  double scale_;
  double blank_;
  std::vector<std::uint8_t> bytes_;
  std::vector<double> numbers_;
};

/// How values become samples: sample = (value - from) * factor.
struct Scaling {
  double from = 0;
  double factor = 1;
  double white = kWhite;

  [[nodiscard]] double operator()(double value) const {
    const double sample = (value - from) * factor;
    return sample >= 0 ? std::min(std::round(sample), white) : 0;  // NaN is not >= 0
  }
};

Scaling scalingOf(Values& values, const FitsHeader& header, std::uint64_t planes) {
  if (isPlain(header, 8, 0)) return {.white = 255};
  if (isPlain(header, 16, 32768)) return {};
  double low = std::numeric_limits<double>::infinity();
  double high = -low;
  for (std::uint64_t plane = 0; plane < planes; ++plane) {
    for (std::uint64_t y = 0; y < header.axes()[1]; ++y) {
      for (const double value : values.row(y, plane)) {
        if (!std::isfinite(value)) continue;
        low = std::min(low, value);
        high = std::max(high, value);
      }
    }
  }
  if (header.bitpix() < 0 && low >= 0 && high <= 1) return {.factor = kWhite};
  if (low >= 0 && high <= kWhite) return {};
  const double factor = high > low ? kWhite / (high - low) : 1;
  return {.from = std::isfinite(low) ? low : 0, .factor = std::isfinite(factor) ? factor : 0};
}

/// The header of the first image in the file.
FitsHeader findImage(ByteSource& source) {
  std::uint64_t offset = 0;
  for (;;) {
    FitsHeader header(source, offset);
    const std::string kind = header.text("XTENSION").value_or("IMAGE");
    if (header.text("ZIMAGE") == "T") {
      source.fail("its image is compressed; unpack it first, with funpack");
    }
    const auto& axes = header.axes();
    if (kind == "IMAGE" && axes.size() >= 2 && axes[0] > 0 && axes[1] > 0) return header;
    offset = header.dataBegin() + header.dataBytes();
    // Anything may follow the last extension.
    constexpr std::string_view kExtension = "XTENSION";
    std::array<std::uint8_t, kExtension.size()> start{};
    if (source.readSome(offset, start) < start.size() || !std::ranges::equal(start, kExtension)) {
      source.fail("it holds no image");
    }
  }
}

bool isTopDown(const FitsHeader& header) {
  if (const auto order = header.text("ROWORDER")) return *order == "TOP-DOWN";
  return header.text("BAYERPAT").has_value();
}

std::optional<BayerPattern> mosaicOf(const FitsHeader& header, Size size, bool topDown) {
  const auto sensor = mosaicNamed(header.text("BAYERPAT").value_or(""));
  if (!sensor) return std::nullopt;
  const auto isOdd = [&](const char* key) {
    return static_cast<int>(header.integer(key).value_or(0) & 1);
  };
  return imageMosaic(*sensor, topDown ? 0 : 2, 1, isOdd("XBAYROFF"), isOdd("YBAYROFF"), size.width,
                     size.height);
}

void takeFacts(const FitsHeader& header, ReadImage& image) {
  const auto add = [&](const char* name, const char* key) {
    const auto text = header.text(key);
    if (text && !text->empty()) image.facts.emplace_back(name, headerText(*text));
  };
  add("object", "OBJECT");
  add("camera", "INSTRUME");
  add("start", "DATE-OBS");
  constexpr double kLongest = 1e9;
  const auto exposure = header.number("EXPTIME");
  if (exposure && *exposure >= 0 && *exposure < kLongest) {
    image.facts.emplace_back("exposure", formatDuration(std::llround(*exposure * 1e6)));
  }
  add("gain", "GAIN");
  add("kind", "IMAGETYP");
}

}  // namespace

ReadImage readFits(ByteSource& source) {
  const FitsHeader header = findImage(source);
  const auto& axes = header.axes();
  const std::uint64_t planes = axes.size() >= 3 && axes[2] == 3 ? 3 : 1;
  ReadImage image;
  const bool is8 = isPlain(header, 8, 0);
  AnnouncedPixels pixels{axes[0], axes[1], static_cast<int>(planes), is8 ? 8 : 16};
  const int bytes = std::abs(header.bitpix()) / 8;
  pixels.fileBytes = static_cast<double>(axes[0] * axes[1] * planes) * bytes +
                     static_cast<double>(header.dataBegin());
  allocate(image, pixels, source);
  Values values(source, header);
  const Scaling scaling = scalingOf(values, header, planes);

  const bool topDown = isTopDown(header);
  const auto stride = static_cast<std::size_t>(planes);
  for (std::uint64_t plane = 0; plane < planes; ++plane) {
    for (std::uint64_t y = 0; y < axes[1]; ++y) {
      const std::vector<double>& row = values.row(y, plane);
      const std::uint64_t to = topDown ? y : axes[1] - 1 - y;
      // Colours are blue, green, red in memory.
      std::size_t at = static_cast<std::size_t>(to) * row.size() * stride + (stride - 1 - plane);
      for (const double value : row) {
        const auto sample = static_cast<std::uint16_t>(scaling(value));
        if (is8) {
          image.pixels[at] = static_cast<std::uint8_t>(sample);
        } else {
          std::memcpy(image.pixels.data() + 2 * at, &sample, sizeof sample);
        }
        at += stride;
      }
    }
  }
  if (planes == 1) image.mosaic = mosaicOf(header, image.size, topDown);
  image.format = "FITS, " + std::to_string(std::abs(header.bitpix())) +
                 (header.bitpix() < 0 ? "-bit floating point" : " bits");
  takeFacts(header, image);
  return image;
}

}  // namespace orvik::imaging
