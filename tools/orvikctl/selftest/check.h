// SPDX-License-Identifier: MIT
#pragma once

#include <span>
#include <string>
#include <vector>

#include "tools/orvikctl/selftest/subject.h"

namespace orvik::ctl::selftest {

/// One promise of orvik.h, tried on a camera.
///
/// A new check is one entry in the table of its group. It finds the camera settled (see
/// Subject::settle()) and may leave it as it likes.
struct Check {
  const char* name;     ///< "group.what"; does not change once it is published
  const char* promise;  ///< what holds when it passes, a clause

  /// Tries it. Throws CheckFailure or CheckSkipped.
  ///
  /// @return figures worth telling, or ""
  std::string (*run)(Subject& subject);
};

// The groups, in the order in which they run.
std::span<const Check> lifecycleChecks();
std::span<const Check> argumentChecks();
std::span<const Check> controlChecks();
std::span<const Check> formatChecks();
std::span<const Check> pictureChecks();
std::span<const Check> videoChecks();
std::span<const Check> snapshotChecks();
std::span<const Check> extraChecks();
std::span<const Check> pairChecks();

/// All of them.
std::vector<Check> allChecks();

}  // namespace orvik::ctl::selftest
