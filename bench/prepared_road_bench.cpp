// SPDX-License-Identifier: MIT
// The library's part of a frame's path: from transfers that are filled to the image in the caller's
// buffer, on one core. The caller fills the transfers itself (see prepared_host.h); the processor
// time of that does not count, everything else does. What the library needs at least is one pass:
// the copy, or the conversion, out of a frame that has just been filled.
#include <benchmark/benchmark.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "bench/host_controller.h"
#include "bench/prepared_capture.h"
#include "bench/process.h"

namespace orvik::bench {
namespace {

using Clock = ReadFeed::Clock;

/// Real time since the last call, without processor time that does not count. On one core nothing
/// else happens during the latter.
class Lap {
 public:
  double seconds(double preparing) {
    const auto now = Clock::now();
    const std::chrono::duration<double> time = now - std::exchange(begin_, now);
    return time.count() - preparing;
  }

 private:
  Clock::time_point begin_ = Clock::now();
};

/// Measures `run`, which follows `prepare`. Both return whether they went well.
template <class Prepare, class Run>
void measure(benchmark::State& state, Prepare prepare, Run run) {
  double preparing = 0;
  Lap lap;
  const Usage usage;
  for (auto _ : state) {
    const double begin = threadSeconds();
    const bool isPrepared = prepare();
    const double prepared = threadSeconds() - begin;
    if (!isPrepared || !run()) {
      state.SkipWithError("no frame");
      return;
    }
    preparing += prepared;
    state.SetIterationTime(lap.seconds(prepared));
  }
  usage.report(state, 1e6 * preparing);
}

/// Corrections that all samples of a frame go through.
struct Corrections {
  const char* name;
  int gamma;
  int flip;
};

constexpr std::array<Corrections, 4> kCorrections{
    {{"", 50, 0}, {", gamma", 80, 0}, {", flipped", 50, 3}, {", gamma, flipped", 80, 3}}};

void road(benchmark::State& state, const ImageKind& kind, const Corrections& corrections) {
  const Cores pinned(1);
  const std::vector<std::uint8_t> frame = preparedFrame(kind);
  std::vector<std::uint8_t> image(kind.bytes());
  PreparedCapture capture(kind);
  OrvikSetControlValue(0, Orvik_CTL_GAMMA, corrections.gamma, Orvik_FALSE);
  OrvikSetControlValue(0, Orvik_CTL_FLIP, corrections.flip, Orvik_FALSE);
  const auto fill = [&] { return capture.feed().fill(frame, kTimeout); };
  const auto take = [&] { return capture.feed().complete() && PreparedCapture::take(0, image); };
  const auto both = [&] { return fill() && take(); };
  for (int n = 0; n < 10 && capture.isRunning(); ++n) both();  // until pages are touched
  if (!capture.isRunning() || !pinned.areSet() || !fillsAll(image, both)) {
    state.SkipWithError("images are not complete");
    return;
  }
  measure(state, fill, take);
}

/// One memcpy of as many bytes as the image has, out of one of the frames that take turns.
void oneCopy(benchmark::State& state, const ImageKind& kind, const Corrections&) {
  const Cores pinned(1);
  const std::vector<std::uint8_t> frame(kind.bytes(), 100);
  std::array<std::vector<std::uint8_t>, 3> frames;
  frames.fill(frame);
  std::vector<std::uint8_t> image(kind.bytes(), 2);
  std::size_t n = 0;
  const auto fill = [&] {
    n = (n + 1) % frames.size();
    writeAsController(std::span(frame).first(kind.frameBytes()), frames[n].data());
    return true;
  };
  const auto copy = [&] {
    std::memcpy(image.data(), frames[n].data(), image.size());
    benchmark::ClobberMemory();
    return true;
  };
  measure(state, fill, copy);
}

const bool registered = [] {
  for (const ImageKind& kind : kKinds) {
    for (const Corrections& corrections : kCorrections) {
      const std::string name = std::string("road prepared ") + kind.name + corrections.name;
      const auto add = [&](const char* variant, auto run) {
        benchmark::RegisterBenchmark((name + "/" + variant + "/S").c_str(), run, kind, corrections)
            ->UseManualTime();
      };
      add("orvik", road);
      add("memcpy", oneCopy);
    }
  }
  return true;
}();

}  // namespace
}  // namespace orvik::bench
