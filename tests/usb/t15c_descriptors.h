// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

/// The descriptors of a T15C on a USB 3 port, byte by byte.
namespace orvik::testing {

using Bytes = std::vector<std::uint8_t>;

inline Bytes t15cDevice() {
  return {18, 1, 0x00, 0x03, 0, 0, 0, 9, 0x56, 0x4F, 0x00, 0x15, 0x00, 0x01, 1, 2, 3, 1};
}

inline Bytes t15cConfiguration() {
  return {9, 2,    31,   0, 1,    1,    0, 0x80, 50,  // configuration
          9, 4,    0,    0, 1,    0xFF, 0, 0,    0,   // interface
          7, 5,    0x81, 2, 0x00, 0x04, 0,            // bulk IN, 1024 bytes
          6, 0x30, 15,   0, 0,    0};                 // burst 15
}

inline Bytes t15cBos() {
  return {5,  15,   22, 0, 2,                            // header
          7,  0x10, 2,  2, 0,    0, 0,                   // USB 2.0 extension: LPM
          10, 0x10, 3,  0, 0x0E, 0, 1, 10, 0xFF, 0x07};  // SuperSpeed
}

inline Bytes languages() { return {4, 3, 0x09, 0x04}; }

inline Bytes stringDescriptor(std::u16string_view text) {
  Bytes bytes = {static_cast<std::uint8_t>(2 + 2 * text.size()), 3};
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<std::uint8_t>(unit));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  return bytes;
}

}  // namespace orvik::testing
