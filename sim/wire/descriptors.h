// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "sim/models.h"

namespace orvik::sim {

/// A serial number as cameras report it: eight hexadecimal digits.
std::string serialText(std::uint32_t serial);

/// The descriptors that a camera answers GET_DESCRIPTOR with, as the bytes on the wire. A camera of
/// USB 2 is the same on any port.
class Descriptors {
 public:
  /// @param superSpeed whether it runs at SuperSpeed on its port
  Descriptors(const Model& model, bool superSpeed, std::uint32_t serial);

  /// @param type descriptor type
  /// @param index which one of its type
  /// @param language of a string descriptor
  /// @return null when the camera has no such descriptor.
  [[nodiscard]] const std::vector<std::uint8_t>* find(std::uint8_t type, std::uint8_t index,
                                                      std::uint16_t language) const;

  /// Bytes of a full packet on the bulk endpoint.
  static constexpr std::uint16_t bulkPacketBytes(bool superSpeed) {
    return superSpeed ? 1024 : 512;
  }

 private:
  std::vector<std::uint8_t> device_;
  std::vector<std::uint8_t> configuration_;
  std::vector<std::uint8_t> bos_;                   ///< empty on a camera of USB 2, which has none
  std::vector<std::vector<std::uint8_t>> strings_;  ///< 0: the languages
};

}  // namespace orvik::sim
