// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <concepts>
#include <thread>

namespace orvik::test {

/// Waits until `condition`, which another thread brings about, holds. The limit is for a busy
/// machine: a test whose condition never holds waits for all of it.
/// @return false after `limit`.
template <std::predicate Condition>
[[nodiscard]] bool eventually(Condition condition,
                              std::chrono::milliseconds limit = std::chrono::seconds(60)) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace orvik::test
