// SPDX-License-Identifier: MIT
#pragma once

#include "tools/orvikctl/output/image_writer.h"

namespace orvik::ctl {

/// Flexible Image Transport System: 8 bits, unsigned 16 bits (BITPIX 16 with BZERO 32768), or
/// colour as three planes red, green, blue. Rows are written as delivered, top row first.
class FitsWriter : public ImageWriter {
 public:
  void write(const Image& image, const std::filesystem::path& file) override;
};

}  // namespace orvik::ctl
