// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "usb/endpoints.h"

namespace orvik {

/// Reads a device's descriptors over its control endpoint, each request within 500 ms and all of
/// them within a budget. When that is used up, every further request fails without being sent.
///
/// A device that stops answering can hold the caller beyond the budget for as long as
/// CCyUSBEndPoint::transfer() needs to be rid of one request: 1050 ms.
class DescriptorReader {
 public:
  using Bytes = std::vector<std::uint8_t>;

  DescriptorReader(std::shared_ptr<seam::Port> port, std::chrono::milliseconds budget);

  /// GET_DESCRIPTOR.
  /// @param length bytes asked for
  /// @return what came, which may be fewer bytes; none when the request failed.
  std::optional<Bytes> read(std::uint8_t type, std::uint8_t index, std::uint16_t language,
                            std::uint16_t length);

  /// A configuration or BOS descriptor with all that belongs to it: first the header, then the
  /// length that it announces.
  /// @return what came; the header alone when that is malformed; none when a request failed.
  std::optional<Bytes> readWhole(std::uint8_t type, std::uint8_t index, std::size_t headerBytes);

  /// A string descriptor: first its length, then all of it. Index 0 is the list of languages.
  /// @return what came; none when a request failed.
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
