// SPDX-License-Identifier: MIT
// Cameras that share the full rate of a USB 3 port: what the library takes of a processor core for
// each. The transfers are prepared (see prepared_host.h): the thread that stands for the bus fills
// and completes them in turn, each at the moment at which the bus would have carried it, and its
// processor time and context switches do not count. What the kernel and libusb do for a transfer is
// not in it either.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "bench/prepared_capture.h"
#include "bench/process.h"

namespace orvik::bench {
namespace {

using Clock = ReadFeed::Clock;
using Seconds = std::chrono::duration<double>;

constexpr const ImageKind& kRaw8 = kKinds[0];
/// What bulk transfers get of a USB 3 port, bytes per second.
constexpr double kBusRate = 400e6;
constexpr std::size_t kReadBytes = std::size_t{1} << 20U;
/// A measurement in which the bus has carried less than this share of the rate does not count.
constexpr double kLeastShare = 0.98;

/// The bus: sends frames of all cameras, one read of each in turn, at its rate.
class Bus {
 public:
  Bus(PreparedCapture& capture, std::size_t cameras)
      : capture_(capture), rest_(cameras), thread_([this] { run(); }) {}
  ~Bus() { end(); }
  Bus(const Bus&) = delete;
  Bus& operator=(const Bus&) = delete;

  /// Ends the thread. @return what it has spent
  Usage::Spent end() {
    ends_ = true;
    if (thread_.joinable()) thread_.join();
    return spent_;
  }
  /// How often a camera had no read in flight when its turn came.
  [[nodiscard]] int waits() const { return waits_; }

 private:
  void run() {
    const Usage usage(RUSAGE_THREAD);
    auto due = Clock::now();
    for (std::size_t camera = 0; !ends_; camera = (camera + 1) % rest_.size()) {
      std::span<const std::uint8_t>& rest = rest_[camera];
      if (rest.empty()) rest = frame_;
      const std::size_t bytes = std::min(rest.size(), kReadBytes);
      due += std::chrono::duration_cast<Clock::duration>(
          Seconds(static_cast<double>(bytes) / kBusRate));
      std::this_thread::sleep_until(due);
      const std::size_t sent = capture_.feed(camera).send(rest.first(bytes));
      rest = rest.subspan(sent);
      if (sent == 0) ++waits_;
    }
    spent_ = usage.spent();
  }

  PreparedCapture& capture_;
  const std::vector<std::uint8_t> frame_ = preparedFrame(kRaw8);
  std::vector<std::span<const std::uint8_t>> rest_;  ///< of the frame that each camera sends
  std::atomic<bool> ends_ = false;
  std::atomic<int> waits_ = 0;
  Usage::Spent spent_;
  std::thread thread_;
};

/// Takes the frames of one camera on a thread of its own.
class Taker {
 public:
  explicit Taker(int camera)
      : thread_([this, camera] {
          std::vector<std::uint8_t> image(kRaw8.bytes());
          while (!ends_ && PreparedCapture::take(camera, image)) ++frames_;
        }) {}
  ~Taker() {
    ends_ = true;
    thread_.join();
  }
  Taker(const Taker&) = delete;
  Taker& operator=(const Taker&) = delete;

  [[nodiscard]] int frames() const { return frames_; }

 private:
  std::atomic<bool> ends_ = false;
  std::atomic<int> frames_ = 0;
  std::thread thread_;
};

int lostFrames(int cameras) {
  int all = 0;
  for (int n = 0; n < cameras; ++n) {
    int frames = 0;
    OrvikGetDroppedFrames(n, &frames);
    all += frames;
  }
  return all;
}

void manyCameras(benchmark::State& state, int cameras) {
  constexpr std::chrono::seconds kTime{3};
  PreparedCapture capture(kRaw8, cameras);
  if (!capture.isRunning()) {
    state.SkipWithError("no cameras");
    return;
  }
  std::vector<std::unique_ptr<Taker>> takers;
  for (int n = 0; n < cameras; ++n) takers.push_back(std::make_unique<Taker>(n));
  const auto frames = [&takers] {
    int all = 0;
    for (const auto& taker : takers) all += taker->frames();
    return all;
  };
  for (auto _ : state) {
    const Usage usage;
    const auto begin = Clock::now();
    Bus bus(capture, static_cast<std::size_t>(cameras));
    const int framesBefore = frames();
    std::this_thread::sleep_for(kTime);
    const Usage::Spent byBus = bus.end();
    const Seconds time = Clock::now() - begin;
    const int taken = frames() - framesBefore;
    const Usage::Spent all = usage.spent();
    const double rate = taken * static_cast<double>(kRaw8.bytes()) / time.count();
    if (rate < kLeastShare * kBusRate) {
      state.SkipWithError("the machine was too busy for the rate of the bus");
      return;
    }
    const double spent = all.microseconds - byBus.microseconds;
    state.SetIterationTime(1e-6 * spent / taken);
    state.counters["cpuPerFrame"] = spent / taken;
    state.counters["switchesPerFrame"] = (all.switches - byBus.switches) / taken;
    state.counters["lostPerFrame"] = lostFrames(cameras) / static_cast<double>(taken);
    state.counters["corePercent"] = 100 * 1e-6 * spent / time.count() / cameras;
    state.counters["bytes_per_second"] = rate;
    state.counters["waits"] = bus.waits();
  }
}

const bool registered = [] {
  for (const int cameras : {1, 2, 4}) {
    const std::string name = "cameras at the USB 3 rate: " + std::to_string(cameras) + "/orvik/S";
    benchmark::RegisterBenchmark(name.c_str(), manyCameras, cameras)
        ->UseManualTime()
        ->Iterations(1);
  }
  return true;
}();

}  // namespace
}  // namespace orvik::bench
