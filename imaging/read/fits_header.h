// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "imaging/read/byte_source.h"

namespace orvik::imaging {

/// Bytes of the blocks that headers and data of a FITS file are padded to.
constexpr std::uint64_t kFitsBlock = 2880;

/// One header of a FITS file: its keywords with their values. Where a keyword is repeated, the
/// first counts.
class FitsHeader {
 public:
  /// Reads the header that begins at an offset.
  ///
  /// @throws FileError if the file ends before the header does, or a size in it makes no sense
  FitsHeader(ByteSource& source, std::uint64_t offset);

  /// A text without its quotation marks, a number or a truth value (T or F) as it is written.
  [[nodiscard]] std::optional<std::string> text(std::string_view key) const;
  /// A finite number.
  [[nodiscard]] std::optional<double> number(std::string_view key) const;
  [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) const;

  /// Bits of a value: 8, 16, 32 or 64, or -32 or -64 for floating point.
  [[nodiscard]] int bitpix() const { return bitpix_; }
  /// The lengths of the axes, the fastest first.
  [[nodiscard]] const std::vector<std::uint64_t>& axes() const { return axes_; }
  /// Where the data begins.
  [[nodiscard]] std::uint64_t dataBegin() const { return dataBegin_; }
  /// Bytes of the data with its padding.
  [[nodiscard]] std::uint64_t dataBytes() const { return dataBytes_; }

 private:
  void takeCard(std::string_view card);
  void readSizes(const ByteSource& source);

  std::map<std::string, std::string, std::less<>> values_;
  int bitpix_ = 0;
  std::vector<std::uint64_t> axes_;
  std::uint64_t dataBegin_ = 0;
  std::uint64_t dataBytes_ = 0;
};

}  // namespace orvik::imaging
