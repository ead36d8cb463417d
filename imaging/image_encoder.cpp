// SPDX-License-Identifier: MIT
#include "imaging/image_encoder.h"

#include "imaging/fits_encoder.h"
#include "imaging/output.h"
#include "imaging/png_encoder.h"

namespace orvik::imaging {

ImageEncoder encoderFor(const std::filesystem::path& file) {
  const auto format = formatOfExtension(file);
  if (format == OutputFormat::kPng) return encodePng;
  return format == OutputFormat::kFits ? encodeFits : nullptr;
}

}  // namespace orvik::imaging
