// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>

namespace orvik::test {

/// @return how long `action` took.
template <class Action>
std::chrono::steady_clock::duration timeOf(Action action) {
  const auto start = std::chrono::steady_clock::now();
  action();
  return std::chrono::steady_clock::now() - start;
}

}  // namespace orvik::test
