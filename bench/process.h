// SPDX-License-Identifier: MIT
/// What a benchmark of several threads needs of the system: a fixed number of cores, and what the
/// whole process has used.
#pragma once

#include <benchmark/benchmark.h>
#include <sched.h>
#include <sys/resource.h>
#include <time.h>

#include <cstdint>

namespace orvik::bench {

/// How many cores this process may use.
inline int coreCount() {
  cpu_set_t allowed;
  return sched_getaffinity(0, sizeof allowed, &allowed) == 0 ? CPU_COUNT(&allowed) : 1;
}

/// Keeps the calling thread, and threads that it starts from now on, on the first `count` of the
/// cores that it may use, while the object exists.
class Cores {
 public:
  explicit Cores(int count) {
    if (sched_getaffinity(0, sizeof before_, &before_) != 0) return;
    cpu_set_t some;
    CPU_ZERO(&some);
    for (std::size_t core = 0; core < CPU_SETSIZE && CPU_COUNT(&some) < count; ++core) {
      if (CPU_ISSET(core, &before_)) CPU_SET(core, &some);
    }
    isSet_ = CPU_COUNT(&some) == count && sched_setaffinity(0, sizeof some, &some) == 0;
  }
  ~Cores() {
    if (isSet_) sched_setaffinity(0, sizeof before_, &before_);
  }
  Cores(const Cores&) = delete;
  Cores& operator=(const Cores&) = delete;

  /// False if the process may not use so many.
  [[nodiscard]] bool areSet() const { return isSet_; }

 private:
  cpu_set_t before_{};
  bool isSet_ = false;
};

/// What all threads of the process, or the calling one, have used since the object was made.
class Usage {
 public:
  /// @param who RUSAGE_SELF, or RUSAGE_THREAD for the calling thread only
  explicit Usage(int who = RUSAGE_SELF) : who_(who) {}

  struct Spent {
    double microseconds = 0;  ///< of processor time
    double switches = 0;
  };
  [[nodiscard]] Spent spent() const {
    const rusage now = take();
    const auto switches = (now.ru_nvcsw - before_.ru_nvcsw) + (now.ru_nivcsw - before_.ru_nivcsw);
    return {.microseconds = microseconds(now.ru_utime) - microseconds(before_.ru_utime) +
                            microseconds(now.ru_stime) - microseconds(before_.ru_stime),
            .switches = static_cast<double>(switches)};
  }

  /// Adds the counters switchesPerFrame and cpuPerFrame (microseconds).
  /// @param preparing processor time that does not count, microseconds
  void report(benchmark::State& state, double preparing = 0) const {
    const auto frames = static_cast<double>(state.iterations());
    if (frames == 0) return;
    const Spent all = spent();
    state.counters["switchesPerFrame"] = all.switches / frames;
    state.counters["cpuPerFrame"] = (all.microseconds - preparing) / frames;
  }

 private:
  [[nodiscard]] rusage take() const {
    rusage usage{};
    getrusage(who_, &usage);
    return usage;
  }
  static double microseconds(const timeval& time) {
    return 1e6 * static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec);
  }

  int who_;
  rusage before_ = take();
};

/// Processor time of the calling thread, seconds.
inline double threadSeconds() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

}  // namespace orvik::bench
