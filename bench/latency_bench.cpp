// SPDX-License-Identifier: MIT
// The time from the completion of a frame's last transfer to the return of OrvikGetVideoData(), of
// a caller that waits: the median, what 99 % of the frames stay below, and the worst of 10,000.
// Frames are prepared (see prepared_host.h); the reads are filled before the time begins. Of the
// worst, "worstWithoutCore" tells for how long the threads concerned were ready to run, but other
// programs had the cores.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <semaphore>
#include <thread>
#include <vector>

#include "bench/host_controller.h"
#include "bench/prepared_capture.h"

namespace orvik::bench {
namespace {

using Clock = ReadFeed::Clock;

constexpr const ImageKind& kRaw8 = kKinds[0];
constexpr int kFrames = 10'000;

/// The time for which threads have been ready to run without getting a core.
class RunDelay {
 public:
  /// Of the threads of the process that there are now.
  RunDelay() {
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
      files_.push_back(task.path() / "schedstat");
    }
  }
  /// @param file a thread's statistics in /proc
  explicit RunDelay(const char* file) : files_{file} {}

  /// So far, microseconds; 0 if the system does not count it.
  [[nodiscard]] double microseconds() const {
    double all = 0;
    for (const auto& file : files_) {
      double ran = 0;
      double waited = 0;
      std::ifstream(file) >> ran >> waited;
      all += waited;
    }
    return 1e-3 * all;
  }

 private:
  std::vector<std::filesystem::path> files_;
};

/// Sends a frame each time it is asked to, from a thread of its own as a host controller would.
class Sender {
 public:
  explicit Sender(ReadFeed& feed) : feed_(feed), thread_([this] { run(); }) {}
  ~Sender() {
    ends_ = true;
    wanted_.release();
    thread_.join();
  }
  Sender(const Sender&) = delete;
  Sender& operator=(const Sender&) = delete;

  void begin() { wanted_.release(); }
  /// Waits for the end of what begin() asked for. @return when the last transfer had completed
  std::optional<Clock::time_point> completion() {
    sent_.acquire();
    return completion_;
  }
  /// How long this thread, while it told the completion, was ready to run without getting a core,
  /// microseconds.
  [[nodiscard]] double delay() const { return delay_; }

 private:
  void run() {
    const RunDelay runDelay("/proc/thread-self/schedstat");
    for (;;) {
      wanted_.acquire();
      if (ends_) return;
      const bool isFilled = feed_.fill(frame_, kTimeout);
      const double before = runDelay.microseconds();
      completion_ = isFilled ? feed_.complete() : std::nullopt;
      delay_ = runDelay.microseconds() - before;
      sent_.release();
    }
  }

  ReadFeed& feed_;
  const std::vector<std::uint8_t> frame_ = preparedFrame(kRaw8);
  std::optional<Clock::time_point> completion_;
  double delay_ = 0;
  std::binary_semaphore wanted_{0};
  std::binary_semaphore sent_{0};
  std::atomic<bool> ends_ = false;
  std::thread thread_;
};

/// A thread that computes without a pause, while the object exists.
class BusyThread {
 public:
  BusyThread()
      : thread_([this] {
          while (!ends_) benchmark::DoNotOptimize(++count_);
        }) {}
  ~BusyThread() {
    ends_ = true;
    thread_.join();
  }
  BusyThread(const BusyThread&) = delete;
  BusyThread& operator=(const BusyThread&) = delete;

 private:
  std::atomic<bool> ends_ = false;
  std::uint64_t count_ = 0;
  std::thread thread_;
};

void report(benchmark::State& state, std::vector<double>& microseconds) {
  std::ranges::sort(microseconds);
  const std::size_t count = microseconds.size();
  state.counters["low"] = microseconds[count / 4];
  state.counters["median"] = microseconds[count / 2];
  state.counters["high"] = microseconds[count * 3 / 4];
  state.counters["p99"] = microseconds[count * 99 / 100];
  state.counters["worst"] = microseconds.back();
}

void latency(benchmark::State& state, bool busy) {
  PreparedCapture capture(kRaw8);
  if (!capture.isRunning()) {
    state.SkipWithError("no camera");
    return;
  }
  const RunDelay runDelay;  // of the worker and the caller
  Sender sender(capture.feed());
  std::optional<BusyThread> other;
  double worst = 0;
  if (busy) other.emplace();
  std::vector<std::uint8_t> image(kPixels);
  std::vector<double> microseconds;
  microseconds.reserve(kFrames);
  for (auto _ : state) {
    image[kPixels / 2] = 0;
    const double delayedBefore = runDelay.microseconds();
    sender.begin();
    const bool came = PreparedCapture::take(0, image);
    const auto end = Clock::now();
    const auto begin = sender.completion();
    if (!came || !begin || image[kPixels / 2] != 100) {
      const bool isLate = lostFrames(1) > 0;
      state.SkipWithError(isLate ? "a transfer came later than its timeout" : "no frame");
      return;
    }
    const std::chrono::duration<double> time = end - *begin;
    state.SetIterationTime(time.count());
    microseconds.push_back(1e6 * time.count());
    if (microseconds.back() <= worst) continue;
    worst = microseconds.back();
    state.counters["worstWithoutCore"] = runDelay.microseconds() - delayedBefore + sender.delay();
  }
  report(state, microseconds);
}

/// One memcpy of a frame that a host controller has written, by a core that did not sleep.
void copy(benchmark::State& state) {
  const std::vector<std::uint8_t> from(kPixels, 1);
  std::vector<std::uint8_t> frame(kPixels, 2);
  std::vector<std::uint8_t> image(kPixels, 3);
  for (auto _ : state) {
    writeAsController(from, frame.data());
    const auto begin = Clock::now();
    std::memcpy(image.data(), frame.data(), image.size());
    benchmark::ClobberMemory();
    const std::chrono::duration<double> time = Clock::now() - begin;
    state.SetIterationTime(time.count());
  }
}

/// Wakes a thread that waits.
class Signal {
 public:
  void send() {
    {
      const std::lock_guard lock(mutex_);
      sent_ = true;
    }
    changed_.notify_one();
  }
  void wait() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return sent_; });
    sent_ = false;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  bool sent_ = false;
};

/// What nothing can be without: two changes of thread, from one that has just written a frame to
/// one that waits for it, and from there to a third one, which copies the frame if `copies` is set.
template <bool copies>
void twoWakeUps(benchmark::State& state, bool busy) {
  const std::vector<std::uint8_t> from(kPixels, 1);
  std::vector<std::uint8_t> to(kPixels, 2);
  std::vector<std::uint8_t> image(kPixels, 3);
  Signal wanted;
  Signal first;
  Signal second;
  Clock::time_point begin;
  std::atomic<bool> ends = false;
  std::thread sender([&] {
    for (wanted.wait(); !ends; wanted.wait()) {
      writeAsController(from, to.data());
      begin = Clock::now();
      first.send();
    }
    first.send();
  });
  std::thread relay([&] {
    for (first.wait(); !ends; first.wait()) second.send();
  });
  std::optional<BusyThread> other;
  if (busy) other.emplace();
  std::vector<double> microseconds;
  microseconds.reserve(kFrames);
  for (auto _ : state) {
    wanted.send();
    second.wait();
    if (copies) {
      std::memcpy(image.data(), to.data(), image.size());
      benchmark::ClobberMemory();
    }
    const std::chrono::duration<double> time = Clock::now() - begin;
    state.SetIterationTime(time.count());
    microseconds.push_back(1e6 * time.count());
  }
  ends = true;
  wanted.send();
  sender.join();
  relay.join();
  report(state, microseconds);
}

void addDistribution(const char* name, void (*run)(benchmark::State&, bool), bool busy) {
  benchmark::RegisterBenchmark(name, run, busy)
      ->UseManualTime()
      ->Iterations(kFrames)
      ->Repetitions(1);
}

const bool registered = [] {
  addDistribution("latency raw8/orvik/S", latency, false);
  addDistribution("latency raw8/two wake-ups/S", twoWakeUps<false>, false);
  addDistribution("latency raw8/two wake-ups and a copy/S", twoWakeUps<true>, false);
  addDistribution("latency raw8, busy second thread/orvik/S", latency, true);
  addDistribution("latency raw8, busy second thread/two wake-ups and a copy/S", twoWakeUps<true>,
                  true);
  benchmark::RegisterBenchmark("latency raw8/memcpy/S", copy)->UseManualTime();
  return true;
}();

}  // namespace
}  // namespace orvik::bench
