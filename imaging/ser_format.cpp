// SPDX-License-Identifier: MIT
#include "imaging/ser_format.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "imaging/mosaic.h"
#include "imaging/time_text.h"

namespace orvik::imaging {
namespace {

using Header = std::array<std::uint8_t, kSerHeaderBytes>;

/// Fills the header field by field; numbers are little-endian.
class HeaderFields {
 public:
  explicit HeaderFields(Header& header) : header_(header) {}

  template <typename Number>
  void number(Number value) {
    std::memcpy(header_.data() + at_, &value, sizeof value);
    at_ += sizeof value;
  }
  void text(std::string_view text, std::size_t width) {
    std::memcpy(header_.data() + at_, text.data(), std::min(text.size(), width));
    at_ += width;
  }

 private:
  Header& header_;
  std::size_t at_ = 0;
};

std::int32_t colourId(const ImageInfo& info) {
  constexpr std::int32_t kMono = 0;
  constexpr std::int32_t kBlueGreenRed = 101;
  if (imageType(info.type).isColour) return kBlueGreenRed;
  return info.mosaic ? mosaic(*info.mosaic).serColourId : kMono;
}

}  // namespace

std::array<std::uint8_t, kSerHeaderBytes> serHeader(const ImageInfo& info, std::int32_t frames) {
  // The format says that 1 means little-endian, but the first programs wrote the opposite and the
  // readers followed them: 0 stands for little-endian samples.
  constexpr std::int32_t kLittleEndianSamples = 0;
  constexpr std::size_t kNameBytes = 40;
  Header header{};
  HeaderFields fields(header);
  fields.text("LUCAM-RECORDER", 14);
  fields.number<std::int32_t>(0);  // number of the camera series; not in use
  fields.number<std::int32_t>(colourId(info));
  fields.number<std::int32_t>(kLittleEndianSamples);
  fields.number<std::int32_t>(info.width);
  fields.number<std::int32_t>(info.height);
  fields.number<std::int32_t>(imageType(info.type).bitsPerSample);
  fields.number<std::int32_t>(frames);
  fields.text(info.observer, kNameBytes);
  fields.text(info.instrument, kNameBytes);
  fields.text(info.telescope, kNameBytes);
  fields.number<std::int64_t>(ticksLocal(info.start));
  fields.number<std::int64_t>(ticksUtc(info.start));
  return header;
}

void requireSameFormat(const ImageInfo& first, const ImageInfo& other) {
  if (other.width == first.width && other.height == first.height && other.type == first.type &&
      other.mosaic == first.mosaic) {
    return;
  }
  throw std::invalid_argument("the frames of a video are all of one size, type and mosaic");
}

}  // namespace orvik::imaging
