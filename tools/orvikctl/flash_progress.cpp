// SPDX-License-Identifier: MIT
#include "tools/orvikctl/flash_progress.h"

#include <array>
#include <memory>
#include <string>

#include "tools/orvikctl/progress.h"

namespace orvik::ctl {

ProgressCallback flashProgress() {
  auto line = std::make_shared<ProgressLine>(true);
  return [line](Orvik_STEP step, std::int32_t done, std::int32_t total) {
    constexpr std::array kSteps = {"erasing", "writing", "reading"};
    const auto number = static_cast<std::size_t>(step);
    const int percent = total > 0 ? static_cast<int>(std::int64_t{done} * 100 / total) : 100;
    line->show(std::string(number < kSteps.size() ? kSteps[number] : "working") + " " +
               std::to_string(percent) + " %");
  };
}

}  // namespace orvik::ctl
