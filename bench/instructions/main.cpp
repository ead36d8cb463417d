// SPDX-License-Identifier: MIT
// Counts the instructions of the kernels for each pixel. They tell the cost on machines that are
// not at hand, as far as instructions do.
//
//   orvik_instructions targets         the vector instructions that can be chosen
//   orvik_instructions kernels         the names of the kernels
//   orvik_instructions count TARGET    counts those of all kernels
//   orvik_instructions run             runs all kernels, for an emulator that counts
#include <iostream>
#include <span>
#include <string_view>

#include "bench/instructions/kernels.h"
#include "bench/instructions/stepper.h"
#include "bench/vector_target.h"

/// Separates the parts of an emulator's log, which has its name.
extern "C" [[gnu::noinline]] void orvik_instructions_mark() { asm volatile(""); }

namespace orvik::bench {
namespace {

/// Rows of two runs. Their difference leaves out what each call costs, and the border of a frame.
/// All bins divide them.
constexpr int kFewRows = 12;
constexpr int kManyRows = kMostRows;

std::int64_t stepsOf(const Kernel& kernel, int rows) {
  Buffers buffers(rows);
  kernel.run(buffers);  // the first call chooses the instructions
  return instructionsOf([&] { kernel.run(buffers); });
}

int count(std::string_view target) {
  if (!limitVectors(target)) {
    std::cerr << "orvik_instructions: no vectors '" << target << "' here\n";
    return 2;
  }
  for (const Kernel& kernel : countedKernels()) {
    const std::int64_t few = stepsOf(kernel, kFewRows);
    const std::int64_t many = stepsOf(kernel, kManyRows);
    if (few < 0 || many < 0) {
      std::cerr << "orvik_instructions: the system does not let a process be stepped\n";
      return 1;
    }
    constexpr double kPixels = double{kColumns} * (kManyRows - kFewRows);
    std::cout << kernel.name << "\t" << static_cast<double>(many - few) / kPixels << std::endl;
  }
  return 0;
}

int run() {
  for (const Kernel& kernel : countedKernels()) {
    Buffers few(kFewRows);
    kernel.run(few);  // the first call chooses the instructions
    Buffers many(kManyRows);
    orvik_instructions_mark();
    kernel.run(few);
    orvik_instructions_mark();
    kernel.run(many);
    orvik_instructions_mark();
  }
  return 0;
}

int main(std::span<char*> args) {
  const std::string_view command = args.size() > 1 ? args[1] : "";
  if (command == "targets") {
    for (const std::string& target : vectorTargets()) std::cout << target << "\n";
    return 0;
  }
  if (command == "kernels") {
    for (const Kernel& kernel : countedKernels()) std::cout << kernel.name << "\n";
    return 0;
  }
  if (command == "count" && args.size() == 3) return count(args[2]);
  if (command == "run") return run();
  std::cerr << "usage: orvik_instructions targets | kernels | count TARGET | run\n";
  return 2;
}

}  // namespace
}  // namespace orvik::bench

int main(int argc, char** argv) {
  return orvik::bench::main({argv, static_cast<std::size_t>(argc)});
}
