// SPDX-License-Identifier: MIT
// orvik_soak SECONDS [SEED]: random legal and illegal calls from several threads, against virtual
// cameras with random faults. Each round has its own seed, which is printed before the round
// begins. `orvik_soak 1 SEED` repeats that round with the same calls and faults in each thread;
// only the interleaving of the threads can differ.
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <thread>

#include "soak/round.h"
#include "support/own_folder.h"
#include "support/process.h"

namespace orvik::soak {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kRound = 3s;
/// Timeout for an abandoned worker to end after the last close.
constexpr auto kPatience = 30s;
/// Memory that the allocator and tables created once may retain. Sanitizers retain freed memory;
/// with them, their own leak check is used instead.
constexpr std::size_t kMemorySlack = std::size_t{48} << 20U;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryTells = false;
#else
constexpr bool kMemoryTells = true;
#endif

/// Checks that a round has left no more threads, handles and memory than there were before.
bool leftNothing(const test::ProcessCounts& before) {
  const auto end = Clock::now() + kPatience;
  malloc_trim(0);
  test::ProcessCounts now = test::processCounts();
  while ((now.threads > before.threads || now.handles > before.handles) && Clock::now() < end) {
    std::this_thread::sleep_for(50ms);
    now = test::processCounts();
  }
  std::printf("  %td threads, %td handles, %zu MiB\n", now.threads, now.handles,
              now.resident >> 20U);
  return now.threads <= before.threads && now.handles <= before.handles &&
         (!kMemoryTells || now.resident <= before.resident + kMemorySlack);
}

int run(double seconds, std::uint64_t seed) {
  const test::OwnFolder settings;
  setenv("XDG_CONFIG_HOME", settings.path().c_str(), 1);
  const auto end = Clock::now() + std::chrono::duration<double>(seconds);
  test::ProcessCounts before;
  for (int round = 0; round == 0 || Clock::now() < end; ++round, ++seed) {
    std::printf("round %d, seed %ju\n", round + 1, std::uintmax_t{seed});
    std::fflush(stdout);
    const std::chrono::duration<double> left = end - Clock::now();
    const auto lasts = std::min<std::chrono::duration<double>>(kRound, left);
    const Tally tally =
        playRound(seed, std::chrono::duration_cast<std::chrono::milliseconds>(lasts));
    std::printf("  %ju calls, %ju images\n", std::uintmax_t{tally.calls},
                std::uintmax_t{tally.images});
    // The first round makes the one-time allocations; later rounds are compared with it.
    if (round == 0) {
      malloc_trim(0);
      before = test::processCounts();
    }
    if (!leftNothing(before)) {
      std::fprintf(stderr, "The round of seed %ju has left something behind.\n",
                   std::uintmax_t{seed});
      return 1;
    }
  }
  return 0;
}

}  // namespace
}  // namespace orvik::soak

int main(int argc, char** argv) {
  // Otherwise memory freed by ended threads stays with the allocator and looks like a leak.
  mallopt(M_ARENA_MAX, 1);
  const double seconds = argc > 1 ? std::strtod(argv[1], nullptr) : 0;
  if (argc > 3 || !(seconds > 0)) {
    std::fprintf(stderr, "usage: orvik_soak SECONDS [SEED]\n");
    return 2;
  }
  const std::uint64_t seed =
      argc > 2 ? std::strtoull(argv[2], nullptr, 10) : std::random_device()() % 1'000'000'000;
  return orvik::soak::run(seconds, seed);
}
