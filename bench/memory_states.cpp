// SPDX-License-Identifier: MIT
#include "bench/memory_states.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "bench/prepared_host.h"
#include "orvik/orvik.h"
#include "orvik/orvik_sim.h"
#include "seam/install.h"
#include "sim/models.h"
#include "sim/picture/marks.h"

namespace orvik::bench {
namespace {

using namespace std::chrono_literals;

constexpr int kFrames = 4;      // that a caller fetches before the measurement
constexpr int kLateFrames = 5;  // that nobody fetches: two are queued, the others are lost
constexpr auto kTimeout = 20s;
constexpr auto kPatience = 1s;  // with a frame that was sent
constexpr std::int32_t kTimeoutMs = 20'000;
constexpr std::int32_t kExposureUs = 1000;

/// Sends frames when it is told to, or leaves that to a virtual camera.
class Source {
 public:
  /// @param feed null if the camera sends by itself
  Source(ReadFeed* feed, const sim::Model& model) : feed_(feed) {
    if (feed_ == nullptr) return;
    const sim::SensorFormat& sensor = model.sensor;
    frame_.assign(2 * sim::Area{0, 0, sensor.width, sensor.height}.pixels(), 100);
    marks_ = model.superSpeed() ? sim::Marks::kFourWords : sim::Marks::kTrailer;
  }

  bool send(std::size_t bytes) {
    if (feed_ == nullptr) return true;
    const std::span<std::uint8_t> frame = std::span(frame_).first(bytes);
    sim::stampMarks(marks_, frame, 1);
    const bool sent = feed_->fill(frame, kTimeout) && feed_->complete().has_value();
    std::ranges::fill(frame.last(sim::bytesOf(marks_)), std::uint8_t{100});
    return sent;
  }

 private:
  ReadFeed* feed_;
  std::vector<std::uint8_t> frame_;
  sim::Marks marks_ = sim::Marks::kFourWords;
};

/// Takes the camera of this process into a state.
class Camera {
 public:
  Camera(Source& source, std::vector<std::uint8_t>& image) : source_(source), image_(image) {}
  ~Camera() { OrvikCloseCamera(0); }
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  bool enter(MemoryState state) {
    Orvik_CAMERA_INFO info{};
    if (OrvikGetNumOfConnectedCameras() != 1 || OrvikGetCameraProperty(&info, 0) != Orvik_OK) {
      return false;
    }
    const bool offers16Bits =
        std::ranges::find(info.imageTypes, Orvik_IMG_RAW16) != std::end(info.imageTypes);
    if (state == MemoryState::kVideo16 && !offers16Bits) return false;
    const bool is16Bits = offers16Bits && state != MemoryState::kVideo8;
    frameBytes_ = static_cast<std::size_t>(info.maxWidth) *
                  static_cast<std::size_t>(info.maxHeight) * (is16Bits ? 2 : 1);
    if (state == MemoryState::kQuery) return true;
    if (OrvikOpenCamera(0) != Orvik_OK) return false;
    if (state == MemoryState::kOpen) return true;
    const IMG_TYPE type = is16Bits ? Orvik_IMG_RAW16 : Orvik_IMG_RAW8;
    if (OrvikSetROIFormat(0, info.maxWidth, info.maxHeight, 1, type) != Orvik_OK ||
        OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, kExposureUs, Orvik_FALSE) != Orvik_OK) {
      return false;
    }
    if (state == MemoryState::kSnapshot) return snap();
    return OrvikStartVideoCapture(0) == Orvik_OK && fetchFrames() &&
           (state != MemoryState::kLateCaller || sendLateFrames()) &&
           (state != MemoryState::kStopped || OrvikStopVideoCapture(0) == Orvik_OK);
  }

  [[nodiscard]] std::size_t frameBytes() const { return frameBytes_; }

 private:
  bool snap() {
    if (OrvikStartExposure(0) != Orvik_OK) return false;
    Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_EXPOSING;
    const auto hasEnded = [&status] {
      return OrvikGetExpStatus(0, &status) != Orvik_OK || status != Orvik_EXPSTATE_EXPOSING;
    };
    return sendUntil(hasEnded) && status == Orvik_EXPSTATE_READY;
  }

  /// Sends a frame, and another one whenever that has come to nothing: the library begins again if
  /// this thread is so slow that a read times out.
  template <class Done>
  bool sendUntil(Done done) {
    for (const auto end = std::chrono::steady_clock::now() + kTimeout;
         std::chrono::steady_clock::now() < end;) {
      if (!source_.send(frameBytes_)) return false;
      const auto again = std::chrono::steady_clock::now() + kPatience;
      while (std::chrono::steady_clock::now() < again) {
        if (done()) return true;
        std::this_thread::sleep_for(1ms);
      }
    }
    return false;
  }

  /// A thread waits for each frame before it is sent.
  bool fetchFrames() {
    std::atomic<int> fetched = 0;
    std::thread caller([&] {
      for (int n = 0; n < kFrames; ++n) {
        if (OrvikGetVideoData(0, image_.data(), static_cast<std::int32_t>(image_.size()),
                              kTimeoutMs) != Orvik_OK) {
          return;
        }
        ++fetched;
      }
    });
    bool sent = true;
    for (int n = 0; n < kFrames && sent; ++n) sent = sendUntil([&] { return fetched > n; });
    caller.join();
    return sent && fetched == kFrames;
  }

  bool sendLateFrames() {
    for (int n = 0; n < kLateFrames; ++n) {
      if (!source_.send(frameBytes_)) return false;
    }
    return true;
  }

  Source& source_;
  std::vector<std::uint8_t>& image_;
  std::size_t frameBytes_ = 0;
};

std::optional<MemoryUse> measure(Source& source, const sim::Model& model, MemoryState state) {
  const sim::SensorFormat& sensor = model.sensor;
  std::vector<std::uint8_t> image(2 * sim::Area{0, 0, sensor.width, sensor.height}.pixels(), 1);
  Camera camera(source, image);
  const std::size_t before = residentBytes();
  if (!camera.enter(state)) return std::nullopt;
  const std::size_t now = residentBytes();
  return MemoryUse{now > before ? now - before : 0, camera.frameBytes()};
}

}  // namespace

std::optional<MemoryState> memoryStateOf(std::string_view name) {
  constexpr std::array<std::pair<std::string_view, MemoryState>, 7> kNames{{
      {"query", MemoryState::kQuery},
      {"open", MemoryState::kOpen},
      {"video8", MemoryState::kVideo8},
      {"video16", MemoryState::kVideo16},
      {"late", MemoryState::kLateCaller},
      {"snapshot", MemoryState::kSnapshot},
      {"stopped", MemoryState::kStopped},
  }};
  for (const auto& [each, state] : kNames) {
    if (each == name) return state;
  }
  return std::nullopt;
}

std::size_t residentBytes() {
  std::ifstream file("/proc/self/smaps_rollup");
  for (std::string word; file >> word;) {
    std::size_t kilobytes = 0;
    if (word == "Anonymous:" && file >> kilobytes) return kilobytes << 10U;
  }
  return 0;
}

std::optional<MemoryUse> libraryMemory(const char* code, MemoryState state) {
  const sim::Model* const model = sim::findModel(code);
  if (model == nullptr) return std::nullopt;
  const auto host = std::make_shared<PreparedHost>(code, 1);
  orvik_private_install_host(host);
  Source source(&host->feed(0), *model);
  const auto use = measure(source, *model, state);
  orvik_private_install_host(nullptr);
  return use;
}

std::optional<MemoryUse> memoryWithVirtualCamera(const char* code, MemoryState state) {
  const sim::Model* const model = sim::findModel(code);
  if (model == nullptr || OrvikSimPlug(code, "") < 0) return std::nullopt;
  Source source(nullptr, *model);
  const auto use = measure(source, *model, state);
  OrvikSimUnplugAll();
  return use;
}

}  // namespace orvik::bench
