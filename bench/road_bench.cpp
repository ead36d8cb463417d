// SPDX-License-Identifier: MIT
// The whole path of a frame, from a bulk read to the caller's buffer, with a virtual camera that
// sends as fast as the host reads; compared with a memcpy of the same image. Run it on one core
// (taskset) to measure one core, which camera, capture worker and caller then share.
#include <benchmark/benchmark.h>

#include <cstring>
#include <vector>

#include "orvik/orvik.h"
#include "orvik/orvik_sim.h"

namespace {

constexpr int kWidth = 1304;
constexpr int kHeight = 976;

std::size_t bytesPerPixel(IMG_TYPE type) {
  switch (type) {
    case Orvik_IMG_RGB24:
      return 3;
    case Orvik_IMG_RAW16:
      return 2;
    default:
      return 1;
  }
}

/// A virtual T15C that captures video while the object exists.
class Video {
 public:
  explicit Video(IMG_TYPE type) : image_(std::size_t{kWidth} * kHeight * bytesPerPixel(type)) {
    OrvikSimPlug("T15C", "pace=free,scene=grey");
    running_ = OrvikGetNumOfConnectedCameras() == 1 && OrvikOpenCamera(0) == Orvik_OK &&
               OrvikSetROIFormat(0, kWidth, kHeight, 1, type) == Orvik_OK &&
               OrvikStartVideoCapture(0) == Orvik_OK;
  }
  ~Video() {
    OrvikCloseCamera(0);
    OrvikSimUnplugAll();
  }
  Video(const Video&) = delete;
  Video& operator=(const Video&) = delete;

  bool take() {
    return running_ && OrvikGetVideoData(0, image_.data(), static_cast<std::int32_t>(image_.size()),
                                         5000) == Orvik_OK;
  }
  [[nodiscard]] std::size_t bytes() const { return image_.size(); }

 private:
  std::vector<unsigned char> image_;
  bool running_ = false;
};

void road(benchmark::State& state, IMG_TYPE type) {
  Video video(type);
  for (int n = 0; n < 10; ++n) video.take();  // until images are made and pages touched
  for (auto _ : state) {
    if (!video.take()) {
      state.SkipWithError("no frame");
      break;
    }
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(video.bytes()));
}

void copy(benchmark::State& state, IMG_TYPE type) {
  const std::size_t bytes = std::size_t{kWidth} * kHeight * bytesPerPixel(type);
  std::vector<unsigned char> from(bytes, 1);
  std::vector<unsigned char> to(bytes, 2);
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), bytes);
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}

BENCHMARK_CAPTURE(road, raw8, Orvik_IMG_RAW8)->UseRealTime();
BENCHMARK_CAPTURE(road, raw16, Orvik_IMG_RAW16)->UseRealTime();
BENCHMARK_CAPTURE(road, y8, Orvik_IMG_Y8)->UseRealTime();
BENCHMARK_CAPTURE(road, rgb24, Orvik_IMG_RGB24)->UseRealTime();
BENCHMARK_CAPTURE(copy, raw8, Orvik_IMG_RAW8)->UseRealTime();
BENCHMARK_CAPTURE(copy, raw16, Orvik_IMG_RAW16)->UseRealTime();

}  // namespace
