// SPDX-License-Identifier: MIT
// The whole path of a frame, from a bulk read to the caller's buffer, with a virtual camera that
// sends as fast as the host reads; compared with a memcpy of the same image. The virtual camera's
// copy into the reads is a part of it: it stands for that of the kernel. On one core camera,
// capture worker and caller share it; on two they overlap. Measured in real time. The camera does
// not wait for the caller: frames that find the queue full are lost, and count as work of those
// that are taken (lostPerFrame).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "bench/image_kinds.h"
#include "bench/process.h"
#include "orvik/orvik.h"
#include "orvik/orvik_sim.h"

namespace orvik::bench {
namespace {

/// A virtual T15C that captures video while the object exists.
class Video {
 public:
  explicit Video(const ImageKind& kind) : image_(kind.bytes()) {
    OrvikSimPlug("T15C", "pace=free,scene=grey");
    running_ = OrvikGetNumOfConnectedCameras() == 1 && OrvikOpenCamera(0) == Orvik_OK &&
               OrvikSetROIFormat(0, kWidth, kHeight, 1, kind.type) == Orvik_OK &&
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

  /// Frames that the queue had no room for since the capture began.
  [[nodiscard]] static int lost() {
    int frames = 0;
    OrvikGetDroppedFrames(0, &frames);
    return frames;
  }

  bool fillsAll() {
    return bench::fillsAll(image_, [this] { return take(); });
  }

 private:
  std::vector<std::uint8_t> image_;
  bool running_ = false;
};

void road(benchmark::State& state, const ImageKind& kind, int cores) {
  const Cores pinned(cores);
  Video video(kind);
  for (int n = 0; n < 10; ++n) video.take();  // until images are made and pages touched
  if (!pinned.areSet() || !video.fillsAll()) {
    state.SkipWithError("images are not complete");
    return;
  }
  const int lostBefore = Video::lost();
  const Usage usage;
  for (auto _ : state) {
    if (!video.take()) {
      state.SkipWithError("no frame");
      break;
    }
  }
  usage.report(state);
  state.counters["lostPerFrame"] =
      static_cast<double>(Video::lost() - lostBefore) / static_cast<double>(state.iterations());
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kind.bytes()));
}

void copy(benchmark::State& state, const ImageKind& kind, int cores) {
  const Cores pinned(cores);
  const std::vector<std::uint8_t> from(kind.bytes(), 1);
  std::vector<std::uint8_t> to(kind.bytes(), 2);
  const Usage usage;
  for (auto _ : state) {
    std::memcpy(to.data(), from.data(), to.size());
    benchmark::ClobberMemory();
  }
  usage.report(state);
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(to.size()));
}

/// The copies that a raw frame needs: from the system into one of the frames that take turns, and
/// from there to the caller. Other than in copy(), the frames do not stay in the nearest cache.
void twoCopies(benchmark::State& state, const ImageKind& kind, int cores) {
  const Cores pinned(cores);
  std::array<std::vector<std::uint8_t>, 4> pictures;
  pictures.fill(std::vector<std::uint8_t>(kind.bytes(), 1));
  std::array<std::vector<std::uint8_t>, 4> frames = pictures;
  std::vector<std::uint8_t> image(kind.bytes(), 2);
  std::size_t n = 0;
  const Usage usage;
  for (auto _ : state) {
    std::memcpy(frames[n].data(), pictures[n].data(), image.size());
    benchmark::ClobberMemory();
    std::memcpy(image.data(), frames[n].data(), image.size());
    benchmark::ClobberMemory();
    n = (n + 1) % frames.size();
  }
  usage.report(state);
  state.SetBytesProcessed(2 * state.iterations() * static_cast<std::int64_t>(image.size()));
}

const bool registered = [] {
  for (int cores = 1; cores <= std::min(2, coreCount()); ++cores) {
    for (const ImageKind& kind : kKinds) {
      const std::string name =
          std::string("road ") + kind.name + (cores == 1 ? ", one core" : ", two cores");
      const auto add = [&](const char* variant, auto run) {
        benchmark::RegisterBenchmark((name + "/" + variant + "/S").c_str(), run, kind, cores)
            ->UseRealTime();
      };
      add("orvik", road);
      add("memcpy", copy);
      if (kind.isRaw()) add("two copies", twoCopies);
    }
  }
  return true;
}();

}  // namespace
}  // namespace orvik::bench
