// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "usb/endpoints.h"

namespace orvik {

/// Reads the descriptors of a device over its control endpoint, with a timeout of 500 ms for each
/// request and a time budget for all. When the budget is used up, every further request fails
/// without being sent.
///
/// A device that stops answering can exceed the budget by the time that CCyUSBEndPoint::transfer()
/// needs to cancel one request: 1050 ms.
class DescriptorReader {
 public:
  using Bytes = std::vector<std::uint8_t>;

  DescriptorReader(std::shared_ptr<seam::Port> port, std::chrono::milliseconds budget);

  /// GET_DESCRIPTOR.
  /// @param length bytes requested
  /// @return the bytes received, which may be fewer; nothing when the request failed.
  std::optional<Bytes> read(std::uint8_t type, std::uint8_t index, std::uint16_t language,
                            std::uint16_t length);

  /// Reads a complete configuration or BOS descriptor: first the header, then the length that it
  /// announces.
  /// @return the bytes received; only the header when that is malformed; nothing when a request
  /// failed.
  std::optional<Bytes> readWhole(std::uint8_t type, std::uint8_t index, std::size_t headerBytes);

  /// Reads a string descriptor: first its length, then all of it. Index 0 is the list of languages.
  /// @return the bytes received; nothing when a request failed.
  std::optional<Bytes> readString(std::uint8_t index, std::uint16_t language);

  /// GET_INTERFACE.
  std::optional<std::uint8_t> alternateSetting(std::uint8_t interfaceNumber);

 private:
  std::optional<Bytes> request(std::uint8_t target, std::uint8_t code, std::uint16_t value,
                               std::uint16_t index, std::uint16_t length);

  CCyControlEndPoint control_;
  const std::chrono::steady_clock::time_point deadline_;
};

}  // namespace orvik
