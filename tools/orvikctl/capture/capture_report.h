// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "imaging/image.h"
#include "tools/orvikctl/capture/brightness.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {

/// The result of a capture.
struct CaptureReport {
  std::int64_t frames = 0;
  std::optional<std::int64_t> lost;  ///< frames lost on the way; nothing for snapshots
  double seconds = 0;                ///< first to last frame for video, all of it for snapshots
  std::optional<double> rate;        ///< frames per second, video only
  imaging::ImageInfo info;           ///< of the last image
  std::optional<SeriesBrightness> brightness;
  std::vector<std::filesystem::path> files;
  std::vector<std::string> notes;  ///< more lines of the text
  Json more = Json::object();      ///< more members of the JSON
};

/// Prints it as JSON or as lines of text. What is wrong with the brightness of the images goes to
/// standard error.
void printReport(const CaptureReport& report, bool json);
void printReport(const CaptureReport& report, bool json, std::ostream& out);

/// The brightness of a series as a member of such a JSON object.
Json brightnessJson(const SeriesBrightness& brightness);
/// The same as a line of text.
std::string brightnessText(const SeriesBrightness& brightness);
/// Says on standard error what is wrong with the brightness, if anything is.
///
/// @param kind as in imaging::ImageInfo::frameKind
void warnOfBrightness(const std::optional<SeriesBrightness>& brightness, const std::string& kind);

/// "730 bytes", "2.5 MB", "1.2 GB", in powers of ten.
std::string sizeText(std::uintmax_t bytes);

}  // namespace orvik::ctl
