// SPDX-License-Identifier: MIT
// Prints how long a virtual camera takes from its plug to its first delivered frame: a line for
// each step, with its milliseconds, its control requests, and the library's waits that ended in it.
#include <sys/prctl.h>

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "base/current_clock.h"
#include "orvik/orvik.h"
#include "seam/clock.h"
#include "seam/install.h"
#include "sim/sim_host.h"

namespace orvik::bench {
namespace {

using namespace std::chrono_literals;
using Duration = seam::Clock::Duration;

constexpr std::int32_t kExposureUs = 1000;
constexpr std::int32_t kTimeoutMs = 20'000;

/// The steady clock, which notes what is waited for on the way to the first frame: by the calling
/// thread, and by the capture worker.
class NotingClock final : public seam::Clock {
 public:
  [[nodiscard]] Duration now() const override { return clock_.now(); }
  bool waitUntil(std::unique_lock<std::mutex>& lock, std::condition_variable& condition,
                 Duration deadline, const std::function<bool()>& ready) override {
    const Duration wanted = deadline - now();
    noteThread();
    const bool result = clock_.waitUntil(lock, condition, deadline, ready);
    if (!result) note(wanted);
    return result;
  }
  void sleepFor(Duration duration) override {
    noteThread();
    clock_.sleepFor(duration);
    note(duration);
  }

  /// The next other thread that begins to wait is the capture worker.
  void expectWorker() {
    const std::lock_guard lock(mutex_);
    expectsWorker_ = true;
  }

  /// The waits since the last call, in milliseconds: "2x20"; "-" for none.
  std::string take() {
    const std::lock_guard lock(mutex_);
    std::string text;
    for (const auto& [ms, count] : waits_) {
      if (!text.empty()) text += '+';
      if (count > 1) text += std::to_string(count) + 'x';
      text += std::to_string(ms);
    }
    waits_.clear();
    return text.empty() ? "-" : text;
  }

 private:
  void noteThread() {
    const std::lock_guard lock(mutex_);
    const auto id = std::this_thread::get_id();
    if (id != caller_ && std::exchange(expectsWorker_, false)) worker_ = id;
  }
  void note(Duration wait) {
    const std::lock_guard lock(mutex_);
    const auto id = std::this_thread::get_id();
    if (id != caller_ && id != worker_) return;
    ++waits_[std::chrono::round<std::chrono::milliseconds>(wait).count()];
  }

  seam::SteadyClock clock_;
  const std::thread::id caller_ = std::this_thread::get_id();
  std::mutex mutex_;
  bool expectsWorker_ = false;
  std::thread::id worker_;
  std::map<std::int64_t, int> waits_;
};

/// Tells each step when it is done.
class Steps {
 public:
  explicit Steps(NotingClock& clock) : clock_(clock) {}

  std::atomic<int>& requests() { return requests_; }

  void done(const char* step) {
    const auto now = std::chrono::steady_clock::now();
    const double ms = std::chrono::duration<double, std::milli>(now - last_).count();
    std::printf("%s %.1f %d %s\n", step, ms, requests_.exchange(0), clock_.take().c_str());
    last_ = now;
  }

 private:
  NotingClock& clock_;
  std::atomic<int> requests_ = 0;
  std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

bool run(const sim::Model& model, std::chrono::microseconds latency) {
  const auto clock = std::make_shared<NotingClock>();
  const auto host = std::make_shared<sim::SimHost>();
  installClock(clock);
  orvik_private_install_host(host);
  std::vector<std::uint8_t> image(
      sim::Area{0, 0, model.sensor.width, model.sensor.height}.pixels());
  Steps steps(*clock);
  sim::CameraOptions options;
  options.link.latency = latency;
  options.controlObserver = [&steps](const sim::ControlRecord&) { ++steps.requests(); };
  if (host->plug(model, options) == 0) return false;
  steps.done("plug");
  if (OrvikGetNumOfConnectedCameras() != 1) return false;
  steps.done("enumerate");
  Orvik_CAMERA_INFO info{};
  if (OrvikGetCameraProperty(&info, 0) != Orvik_OK) return false;
  steps.done("properties");
  if (OrvikOpenCamera(0) != Orvik_OK) return false;
  steps.done("open");
  if (OrvikSetROIFormat(0, info.maxWidth, info.maxHeight, 1, Orvik_IMG_RAW8) != Orvik_OK ||
      OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, kExposureUs, Orvik_FALSE) != Orvik_OK) {
    return false;
  }
  steps.done("set-up");
  clock->expectWorker();
  if (OrvikStartVideoCapture(0) != Orvik_OK) return false;
  const bool came = OrvikGetVideoData(0, image.data(), static_cast<std::int32_t>(image.size()),
                                      kTimeoutMs) == Orvik_OK;
  if (came) steps.done("frame");
  OrvikCloseCamera(0);
  orvik_private_install_host(nullptr);
  installClock(nullptr);
  return came;
}

}  // namespace
}  // namespace orvik::bench

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "models") == 0) {
    for (const auto& model : orvik::sim::models()) std::puts(model.code);
    return 0;
  }
  const auto* const model = argc == 3 ? orvik::sim::findModel(argv[1]) : nullptr;
  int latency = 0;
  if (model == nullptr ||
      std::from_chars(argv[2], argv[2] + std::strlen(argv[2]), latency).ec != std::errc()) {
    std::fputs("usage: orvik_startup models\n       orvik_startup MODEL LATENCY-IN-MICROSECONDS\n",
               stderr);
    return 2;
  }
  prctl(PR_SET_TIMERSLACK, 1);  // a request's time is short beside the usual 50 us
  return orvik::bench::run(*model, std::chrono::microseconds(latency)) ? 0 : 1;
}
