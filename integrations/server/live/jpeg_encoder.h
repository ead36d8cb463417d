// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "imaging/view/image_source.h"

namespace orvik::server {

/// Compresses pictures. Its memory is used again. One thread at a time.
class JpegEncoder {
 public:
  JpegEncoder();
  ~JpegEncoder();
  JpegEncoder(const JpegEncoder&) = delete;
  JpegEncoder& operator=(const JpegEncoder&) = delete;

  /// @param pixels a byte a pixel, or blue, green and red
  /// @param quality 1 to 100
  /// @throws std::runtime_error if the picture cannot be compressed
  std::shared_ptr<const std::string> encode(std::span<const std::uint8_t> pixels,
                                            imaging::Size size, bool isColour, int quality);

 private:
  void* handle_;
  std::vector<std::uint8_t> compressed_;
};

}  // namespace orvik::server
