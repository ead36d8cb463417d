// SPDX-License-Identifier: MIT
#include "bench/vector_target.h"

#include <hwy/highway.h>
#include <hwy/targets.h>

namespace orvik::bench {

std::vector<std::string> vectorTargets() {
  std::vector<std::string> names;
  for (const std::int64_t target : hwy::SupportedAndGeneratedTargets()) {
    names.emplace_back(hwy::TargetName(target));
  }
  return names;
}

bool limitVectors(std::string_view target) {
  for (const std::int64_t each : hwy::SupportedAndGeneratedTargets()) {
    if (hwy::TargetName(each) != target) continue;
    hwy::SetSupportedTargetsForTest(each);
    return true;
  }
  return false;
}

}  // namespace orvik::bench
