// SPDX-License-Identifier: MIT
#pragma once

#include <optional>
#include <string>

#include "tools/orvikctl/common_options.h"

namespace orvik::ctl {

inline constexpr double kDefaultRamp = 3;     ///< degrees a minute
inline constexpr double kDefaultSettle = 60;  ///< seconds

/// How a capture cools the sensor.
struct CoolingPlan {
  int target = 0;                ///< degrees Celsius
  double ramp = kDefaultRamp;    ///< degrees a minute, down and up
  std::optional<double> settle;  ///< seconds for which the temperature holds before the first image
  bool keepCold = false;         ///< whether to end without warming up slowly
};

/// The options of cooling as typed.
struct CoolingOptions {
  std::optional<int> target;
  std::optional<double> ramp;
  bool settles = false;
  std::string settle;  ///< empty for the usual time
  bool keepCold = false;
};

/// Adds the options; `options` must live as long as `app`.
void addCoolingOptions(CLI::App& app, CoolingOptions& options);

/// Nothing without `--cool`.
///
/// @throws Failure (kUsage) for a time that is none
std::optional<CoolingPlan> coolingPlanOf(const CoolingOptions& options);

}  // namespace orvik::ctl
