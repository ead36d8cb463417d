// SPDX-License-Identifier: MIT
#pragma once

#include <sys/resource.h>

namespace orvik::test {

/// How often the calling thread goes to sleep while `action` runs.
template <class Action>
long sleepsOf(Action action) {
  const auto count = [] {
    rusage usage{};
    getrusage(RUSAGE_THREAD, &usage);
    return usage.ru_nvcsw;
  };
  const long before = count();
  action();
  return count() - before;
}

}  // namespace orvik::test
