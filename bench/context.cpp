// SPDX-License-Identifier: MIT
// What the results of a benchmark program say about its build.
#include <benchmark/benchmark.h>

namespace {

const bool described = [] {
#ifdef __clang__
  benchmark::AddCustomContext("compiler", __VERSION__);
#else
  benchmark::AddCustomContext("compiler", "GCC " __VERSION__);
#endif
  return true;
}();

}  // namespace
