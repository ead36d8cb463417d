// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <vector>

#include "orvik/orvik.h"

namespace orvik::soak {

/// The calls of one thread: the current call and its start time.
class Calls {
 public:
  /// Makes a call and checks that it returns a possible error code.
  template <class Call>
  Orvik_ERROR_CODE make(const char* name, Call call) {
    name_ = name;
    since_ = nowMs();
    const Orvik_ERROR_CODE code = call();
    since_ = 0;
    ++made_;
    if (code < Orvik_OK || code > Orvik_ERROR_DRIVER_FAILED || code == Orvik_ERROR_RESERVED_12) {
      std::fprintf(stderr, "%s answered %d\n", name, static_cast<int>(code));
      std::abort();
    }
    return code;
  }

  [[nodiscard]] std::uint64_t made() const { return made_; }
  [[nodiscard]] const char* name() const { return name_; }
  /// @return the duration of the current call so far; 0 when there is none.
  [[nodiscard]] std::int64_t lastsMs() const {
    const std::int64_t since = since_;
    return since == 0 ? 0 : nowMs() - since;
  }

 private:
  static std::int64_t nowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
  }

  std::atomic<const char*> name_{""};
  std::atomic<std::int64_t> since_{0};
  std::atomic<std::uint64_t> made_{0};
};

/// Aborts the program when a call does not return, so that a debugger or a core file shows where it
/// hangs.
class Watchdog {
 public:
  explicit Watchdog(std::vector<const Calls*> watched)
      : watched_(std::move(watched)), thread_([this] { watch(); }) {}
  ~Watchdog() {
    {
      const std::lock_guard lock(mutex_);
      over_ = true;
    }
    wake_.notify_all();
    thread_.join();
  }
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  /// Far above any deadline plus the delays of a busy machine.
  static constexpr std::int64_t kLongestCallMs = 120'000;

  void watch() {
    std::unique_lock lock(mutex_);
    while (!wake_.wait_for(lock, std::chrono::milliseconds(500), [this] { return over_; })) {
      for (const Calls* calls : watched_) {
        if (calls->lastsMs() < kLongestCallMs) continue;
        std::fprintf(stderr, "%s does not end\n", calls->name());
        std::abort();
      }
    }
  }

  const std::vector<const Calls*> watched_;
  std::mutex mutex_;
  std::condition_variable wake_;
  bool over_ = false;
  std::thread thread_;
};

}  // namespace orvik::soak
