// SPDX-License-Identifier: MIT
#include "imaging/read/fits_header.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace orvik::imaging {
namespace {

constexpr std::size_t kCard = 80;
constexpr std::size_t kKeyword = 8;
constexpr std::uint64_t kMostHeaderBlocks = 2000;
constexpr std::int64_t kMostAxes = 999;
constexpr std::int64_t kLongestAxis = std::int64_t{1} << 40;
constexpr std::uint64_t kMostData = std::uint64_t{1} << 60;

std::string_view trimmed(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(' ');
  if (begin == std::string_view::npos) return {};
  return text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

/// The value in the part of a card behind "= ".
std::string valueOf(std::string_view field) {
  field = trimmed(field);
  if (!field.starts_with('\'')) return std::string(trimmed(field.substr(0, field.find('/'))));
  std::string text;
  for (std::size_t i = 1; i < field.size(); ++i) {
    if (field[i] == '\'') {
      if (i + 1 == field.size() || field[i + 1] != '\'') break;
      ++i;  // two of them stand for one
    }
    text += field[i];
  }
  return std::string(trimmed(text));
}

/// Multiplies sizes. False if the product is beyond anything that a file has.
bool multiply(std::uint64_t& product, std::uint64_t factor) {
  if (factor != 0 && product > kMostData / factor) return false;
  product *= factor;
  return true;
}

}  // namespace

FitsHeader::FitsHeader(ByteSource& source, std::uint64_t offset) {
  std::array<std::uint8_t, kFitsBlock> block{};
  for (std::uint64_t count = 1; count <= kMostHeaderBlocks; ++count, offset += kFitsBlock) {
    source.readAll(offset, block);
    const std::string_view text(reinterpret_cast<const char*>(block.data()), block.size());
    for (std::size_t at = 0; at < text.size(); at += kCard) {
      const std::string_view card = text.substr(at, kCard);
      if (trimmed(card) == "END") {
        dataBegin_ = offset + kFitsBlock;
        readSizes(source);
        return;
      }
      takeCard(card);
    }
  }
  source.fail("its header has no end");
}

void FitsHeader::takeCard(std::string_view card) {
  if (card.substr(kKeyword, 2) != "= ") return;
  values_.emplace(trimmed(card.substr(0, kKeyword)), valueOf(card.substr(kKeyword + 2)));
}

void FitsHeader::readSizes(const ByteSource& source) {
  const auto need = [&](const std::string& key, std::int64_t least, std::int64_t most) {
    const auto value = integer(key);
    if (value && *value >= least && *value <= most) return *value;
    source.fail("its header has no usable " + key);
  };
  bitpix_ = static_cast<int>(need("BITPIX", -64, 64));
  if (bitpix_ != 8 && bitpix_ != 16 && std::abs(bitpix_) != 32 && std::abs(bitpix_) != 64) {
    source.fail("its header has no usable BITPIX");
  }
  const std::int64_t dimensions = need("NAXIS", 0, kMostAxes);
  std::uint64_t values = dimensions == 0 ? 0 : 1;
  bool fits = true;
  for (std::int64_t n = 1; n <= dimensions; ++n) {
    axes_.push_back(static_cast<std::uint64_t>(need("NAXIS" + std::to_string(n), 0, kLongestAxis)));
    fits = fits && multiply(values, axes_.back());
  }
  const auto count = [&](const char* key, std::int64_t otherwise) {
    return static_cast<std::uint64_t>(integer(key) ? need(key, 0, kLongestAxis) : otherwise);
  };
  const std::uint64_t heap = count("PCOUNT", 0);
  if (dimensions > 0) values += heap;
  fits = fits && multiply(values, count("GCOUNT", 1));
  fits = fits && multiply(values, static_cast<std::uint64_t>(std::abs(bitpix_) / 8));
  if (!fits) source.fail("the sizes in its header are impossible");
  dataBytes_ = (values + kFitsBlock - 1) / kFitsBlock * kFitsBlock;
}

std::optional<std::string> FitsHeader::text(std::string_view key) const {
  const auto found = values_.find(key);
  if (found == values_.end()) return std::nullopt;
  return found->second;
}

std::optional<double> FitsHeader::number(std::string_view key) const {
  auto value = text(key);
  if (!value) return std::nullopt;
  for (char& letter : *value) {
    if (letter == 'D' || letter == 'd') letter = 'E';  // an exponent of double precision
  }
  const std::size_t plus = value->starts_with('+') ? 1 : 0;
  const char* const end = value->data() + value->size();
  double number = 0;
  const auto [read, error] = std::from_chars(value->data() + plus, end, number);
  if (error != std::errc{} || read != end || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::optional<std::int64_t> FitsHeader::integer(std::string_view key) const {
  const auto value = number(key);
  constexpr double kExact = 9007199254740992.0;  // 2^53
  if (!value || std::abs(*value) > kExact || std::trunc(*value) != *value) return std::nullopt;
  return static_cast<std::int64_t>(*value);
}

}  // namespace orvik::imaging
