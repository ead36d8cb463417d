// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <vector>

#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/json.h"
#include "tools/orvikctl/selftest/runner.h"

namespace orvik::ctl::selftest {

/// The results of all checks of one camera.
struct CameraReport {
  std::string name;
  int index = 0;
  std::string serial;  ///< "" where it is not known
  std::vector<CheckResult> results;
};

/// How many checks passed, failed or were skipped, and how long they took.
struct Tally {
  int passed = 0;
  int failed = 0;
  int skipped = 0;
  double seconds = 0;
};

Tally tallyOf(std::span<const CheckResult> results);
Tally tallyOf(std::span<const CameraReport> reports);

/// "Vek T15C, camera 0, 0A000001".
std::string headingText(const CameraReport& camera);

/// "  pass  video.rate         it streams: 312 frames/s".
std::string lineText(const CheckResult& result);

/// "40 checks: 38 passed, 1 failed, 1 skipped, in 4.2 s".
std::string tallyText(const Tally& tally);

Json reportJson(std::span<const CameraReport> reports);

}  // namespace orvik::ctl::selftest
