// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <vector>

namespace orvik::test {

using Bytes = std::vector<std::uint8_t>;

inline void append32(Bytes& bytes, std::uint32_t value) {
  for (unsigned shift = 0; shift < 32; shift += 8) {
    bytes.push_back(static_cast<std::uint8_t>(value >> shift & 0xFFU));
  }
}

/// Bytes in which adjacent sections always differ.
inline Bytes pattern(std::size_t count) {
  Bytes bytes(count);
  std::uint32_t state = 1;
  for (std::uint8_t& byte : bytes) {
    state = state * 1664525U + 1013904223U;
    byte = static_cast<std::uint8_t>(state >> 24U);
  }
  return bytes;
}

/// The header of a firmware image with an I2C size code.
inline Bytes imageHead(unsigned sizeCode = 0) {
  return {'C', 'Y', static_cast<std::uint8_t>(sizeCode << 1U), 0xB0};
}

inline void appendSection(Bytes& image, std::uint32_t address, const Bytes& data) {
  append32(image, static_cast<std::uint32_t>(data.size() / 4));
  append32(image, address);
  image.insert(image.end(), data.begin(), data.end());
}

inline void appendEnd(Bytes& image, std::uint32_t entry) {
  append32(image, 0);
  append32(image, entry);
}

/// An image with one section.
inline Bytes imageOf(const Bytes& data, std::uint32_t address = 0x1000, unsigned sizeCode = 0) {
  Bytes image = imageHead(sizeCode);
  appendSection(image, address, data);
  appendEnd(image, address);
  return image;
}

inline void appendRecord(Bytes& stream, unsigned address, const Bytes& data) {
  for (const auto word : {static_cast<unsigned>(data.size()), address}) {
    stream.push_back(static_cast<std::uint8_t>(word >> 8U));
    stream.push_back(static_cast<std::uint8_t>(word & 0xFFU));
  }
  stream.insert(stream.end(), data.begin(), data.end());
}

/// A record stream with one record at address 0.
inline Bytes streamOf(const Bytes& data) {
  Bytes stream = {0xC2, 0, 0, 0, 0, 0, 0, 0};
  appendRecord(stream, 0, data);
  stream.insert(stream.end(), {0x80, 0x01, 0xE6, 0x00});
  return stream;
}

}  // namespace orvik::test
