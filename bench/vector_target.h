// SPDX-License-Identifier: MIT
/// The vector instructions that the kernels use, limited for a measurement.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orvik::bench {

/// The names of what this processor has and the kernels are built for, the best one first; the last
/// one is the portable form.
[[nodiscard]] std::vector<std::string> vectorTargets();

/// Makes all kernels of this process use one of vectorTargets().
/// @return false, with nothing changed, if it is none of them
[[nodiscard]] bool limitVectors(std::string_view target);

}  // namespace orvik::bench
