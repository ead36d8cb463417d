// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/raw_hint.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>

#include "imaging/mosaic.h"

namespace orvik::ctl {

std::string ffmpegPixelFormat(const imaging::ImageInfo& info) {
  const imaging::ImageType type = imaging::imageType(info.type);
  const bool isWide = type.bitsPerSample == 16;
  if (type.isColour) return "bgr24";
  if (!info.mosaic) return isWide ? "gray16le" : "gray";
  std::string cell(imaging::mosaic(*info.mosaic).name);
  std::transform(cell.begin(), cell.end(), cell.begin(), [](char letter) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  });
  return "bayer_" + cell + (isWide ? "16le" : "8");
}

std::string rawHint(const imaging::ImageInfo& info, std::optional<double> rate,
                    const std::string& input) {
  std::string line = "ffplay -f rawvideo -pixel_format " + ffmpegPixelFormat(info) +
                     " -video_size " + std::to_string(info.width) + "x" +
                     std::to_string(info.height);
  if (rate) {
    std::array<char, 40> text{};
    std::snprintf(text.data(), text.size(), " -framerate %.4g", *rate);
    line += text.data();
  }
  return line + " -i " + input;
}

}  // namespace orvik::ctl
