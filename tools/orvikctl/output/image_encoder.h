// SPDX-License-Identifier: MIT
#pragma once

#include <filesystem>

#include "tools/orvikctl/output/image.h"

namespace orvik::ctl {

/// Writes one image into one file.
class ImageWriter {
 public:
  virtual ~ImageWriter() = default;

  /// Creates or replaces `file`.
  ///
  /// @throws Failure (kFileFailed) when the file cannot be written; it may then be left
  /// half-written
  virtual void write(const Image& image, const std::filesystem::path& file) = 0;
};

}  // namespace orvik::ctl
