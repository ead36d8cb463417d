// SPDX-License-Identifier: MIT
#pragma once

#include "tools/orvikctl/output/image_writer.h"

namespace orvik::ctl {

/// Portable Network Graphics: grey of 8 or 16 bits a sample, or colour of 8.
///
/// The file also names the program, the camera, the exposure and, of a raw colour image, the order
/// of the mosaic.
class PngWriter : public ImageWriter {
 public:
  void write(const Image& image, const std::filesystem::path& file) override;
};

}  // namespace orvik::ctl
