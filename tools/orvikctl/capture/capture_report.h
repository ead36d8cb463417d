// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

#include "imaging/image.h"

namespace orvik::ctl {

/// The result of a capture.
struct CaptureReport {
  std::int64_t frames = 0;
  std::optional<std::int64_t> lost;  ///< frames lost on the way; nothing for snapshots
  double seconds = 0;                ///< first to last frame for video, all of it for snapshots
  std::optional<double> rate;        ///< frames per second, video only
  imaging::ImageInfo info;           ///< of the last image
  std::vector<std::filesystem::path> files;
};

/// Prints it to standard output, as JSON or as two lines.
void printReport(const CaptureReport& report, bool json);

/// "730 bytes", "2.5 MB", "1.2 GB", in powers of ten.
std::string sizeText(std::uintmax_t bytes);

}  // namespace orvik::ctl
