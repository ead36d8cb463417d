// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "orvik/orvik.hpp"
#include "tools/orvikctl/sequence/file_names.h"
#include "tools/orvikctl/sequence/plan.h"

namespace orvik::ctl {

/// What a sequence will take, apart from the images that exist already.
struct Forecast {
  struct Step {
    std::int64_t images = 0;
    std::int64_t missing = 0;
    double seconds = 0;                   ///< for those that are missing
    std::optional<std::uintmax_t> bytes;  ///< the same; nothing without a camera
    std::filesystem::path first;
    std::filesystem::path last;
  };
  std::vector<Step> steps;
  double coolingSeconds = 0;  ///< down and up
  double seconds = 0;         ///< in all, without pauses and commands
  std::optional<std::uintmax_t> bytes;
  std::optional<std::uintmax_t> free;  ///< on the disk; nothing if that cannot be found out
};

/// Whether an image has still to be taken.
bool isMissing(const PlannedImage& image, bool overwrite);

/// How long the exposure of a step is; for flats that look for theirs a second.
double exposureSeconds(const StepPlan& step);

/// Estimates a sequence: exposures, intervals, read-out at 40 MB/s, settling after dithering, and a
/// ramp from 20 degC and back.
///
/// @param camera null if there is none: the sizes are then unknown
Forecast forecastOf(const SequencePlan& plan, const std::vector<PlannedImage>& images,
                    bool overwrite, const Orvik_CAMERA_INFO* camera);

/// Prints it to standard output, as JSON or as a table.
void printForecast(const SequencePlan& plan, const Forecast& forecast, bool json);

}  // namespace orvik::ctl
