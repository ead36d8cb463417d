// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>

namespace orvik::bench {

/// Runs `work` in a child process, one instruction at a time, and counts them. An instruction that
/// repeats itself counts as often as it does.
/// @return the number; -1 if the system does not let a process be stepped, as an emulator for a
///   single program does not
[[nodiscard]] std::int64_t instructionsOf(const std::function<void()>& work);

}  // namespace orvik::bench
