// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace orvik::test {

/// Resources held by this process.
struct ProcessCounts {
  std::ptrdiff_t threads = 0;
  std::ptrdiff_t handles = 0;  ///< open file descriptors
  std::size_t resident = 0;    ///< bytes of resident memory
};

inline ProcessCounts processCounts() {
  namespace fs = std::filesystem;
  constexpr std::size_t kPageBytes = 4096;
  const auto entries = [](const char* folder) {
    return std::distance(fs::directory_iterator(folder), fs::directory_iterator());
  };
  std::size_t pages = 0;
  std::size_t resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  return {entries("/proc/self/task"), entries("/proc/self/fd"), resident * kPageBytes};
}

}  // namespace orvik::test
