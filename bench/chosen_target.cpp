// SPDX-License-Identifier: MIT
// The benchmark of the kernels takes the vector instructions that the environment variable
// ORVIK_BENCH_VECTORS names, which `./dev bench --vectors` sets.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <iostream>

#include "bench/vector_target.h"

namespace orvik::bench {
namespace {

const bool chosen = [] {
  const char* const target = std::getenv("ORVIK_BENCH_VECTORS");
  if (target == nullptr) return false;
  if (!limitVectors(target)) {
    std::cerr << "This processor and build know no vectors '" << target << "'. They know:";
    for (const std::string& each : vectorTargets()) std::cerr << " " << each;
    std::cerr << "\n";
    std::exit(2);
  }
  benchmark::AddCustomContext("vectors", target);
  return true;
}();

}  // namespace
}  // namespace orvik::bench
