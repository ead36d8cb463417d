// SPDX-License-Identifier: MIT
/// Common parts of the kernel benchmarks: frame sizes, frames, and the registration of cases.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench/written.h"

namespace orvik::bench {

struct Size {
  const char* name;
  int width;
  int height;

  [[nodiscard]] std::size_t pixels() const {
    return static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
  }
};

/// A guide camera, a planetary camera and a full-format camera.
inline constexpr std::array<Size, 3> kSizes{
    {{"S", 1304, 976}, {"M", 3096, 2080}, {"L", 7380, 4928}}};

/// A frame of `samples` samples like a night sky: a soft gradient, noise and a few bright pixels.
/// Made once for each size.
template <typename Sample>
const std::vector<Sample>& skyFrame(std::size_t samples) {
  static std::map<std::size_t, std::vector<Sample>> made;
  std::vector<Sample>& frame = made[samples];
  if (!frame.empty()) return frame;
  frame.resize(samples);
  constexpr double kMax = std::numeric_limits<Sample>::max();
  std::minstd_rand generator(1);
  for (std::size_t i = 0; i < samples; ++i) {
    const double gradient = 0.15 + 0.2 * static_cast<double>(i) / static_cast<double>(samples);
    const double noise = static_cast<double>(generator() % 1024) / 1024.0 * 0.04;
    const double star = generator() % 500 == 0 ? 0.5 : 0.0;
    frame[i] = static_cast<Sample>(kMax * (gradient + noise + star));
  }
  return frame;
}

/// A frame of random samples: of 16 bits, the worst case for a table.
template <typename Sample>
const std::vector<Sample>& randomFrame(std::size_t samples) {
  static std::map<std::size_t, std::vector<Sample>> made;
  std::vector<Sample>& frame = made[samples];
  if (!frame.empty()) return frame;
  frame.resize(samples);
  std::mt19937 generator(7);
  for (Sample& sample : frame) sample = static_cast<Sample>(generator());
  return frame;
}

/// A dark frame with a few steps everywhere and some hot pixels. Made once for each size.
inline const std::vector<std::uint16_t>& darkFrame(std::size_t pixels) {
  static std::map<std::size_t, std::vector<std::uint16_t>> made;
  std::vector<std::uint16_t>& dark = made[pixels];
  if (!dark.empty()) return dark;
  dark.resize(pixels);
  std::minstd_rand generator(5);
  for (std::uint16_t& sample : dark) {
    sample = static_cast<std::uint16_t>(generator() % 16 + (generator() % 5000 == 0 ? 150 : 0));
  }
  return dark;
}

/// Calls the function of a case before its measurement, which also touches the pages of outputs
/// that are allocated on first use. Its results are looked at once in each process.
/// @return whether the measurement may begin; otherwise the state is skipped with an error
template <typename Run>
bool prepareCase(const std::string& name, Run& run, benchmark::State& state) {
  struct Finding {
    std::string fault;
    std::size_t checked = 0;
  };
  static std::map<std::string, Finding> findings;
  const auto [place, isNew] = findings.try_emplace(name);
  Finding& finding = place->second;
  if (isNew) {
    finding.fault = Written::check(run, finding.checked);
  } else {
    run();
  }
  if (!finding.fault.empty()) state.SkipWithError(finding.fault.c_str());
  state.counters["checkedBytes"] = static_cast<double>(finding.checked);
  return finding.fault.empty();
}

/// Registers `kernel/variant/size` for every size. The case fails if what it writes into an Output
/// or InPlace is not all of it.
///
/// @param bytesPerPixel bytes of input for each pixel; the report compares the case with a memcpy
///   of as many bytes
/// @param make called with a Size before the measurement; returns the function to measure
/// @param pixels how many pixels of a frame the kernel works on
template <typename Make>
void addCase(
    const std::string& kernel, const std::string& variant, int bytesPerPixel, Make make,
    std::size_t (*pixels)(Size) = [](Size size) { return size.pixels(); }) {
  for (const Size& size : kSizes) {
    const std::string name = kernel + "/" + variant + "/" + size.name;
    benchmark::RegisterBenchmark(
        name.c_str(), [make, size, bytesPerPixel, name, pixels](benchmark::State& state) {
          auto run = make(size);
          if (!prepareCase(name, run, state)) return;
          for (auto _ : state) {
            run();
            benchmark::ClobberMemory();
          }
          state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(pixels(size)));
          state.counters["bytesPerPixel"] = bytesPerPixel;
        });
  }
}

}  // namespace orvik::bench
