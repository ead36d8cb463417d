// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <span>
#include <string>
#include <vector>

#include "tools/orvikctl/selftest/check.h"

namespace orvik::ctl::selftest {

enum class Verdict { kPass, kFail, kSkip };

/// The result of one check.
struct CheckResult {
  std::string name;
  std::string promise;
  Verdict verdict = Verdict::kPass;
  std::string detail{};  ///< figures of a pass; what came instead; why it was skipped
  double seconds = 0;
};

/// Called after each check.
using ResultSink = std::function<void(const CheckResult&)>;

/// Settles the camera and tries each check, until the user interrupts.
///
/// When the camera cannot be settled any more, that check has failed, and those that follow are
/// skipped.
std::vector<CheckResult> runChecks(Subject& subject, std::span<const Check> checks,
                                   const ResultSink& sink);

}  // namespace orvik::ctl::selftest
