// SPDX-License-Identifier: MIT
#include "cooler/auto_temperature.h"

#include <chrono>
#include <new>

namespace orvik::cooler {
namespace {

using namespace std::chrono_literals;

constexpr auto kStart = 200ms;
constexpr auto kBeforeMeasurement = 200ms;
constexpr auto kAfterMeasurement = 1590ms;
constexpr int kMeasurementsPerStep = 2;

/// Skips a step for which there is no memory; the next round repeats it.
template <class Step>
void attempt(Step step) {
  try {
    step();
  } catch (const std::bad_alloc&) {
    return;
  }
}

}  // namespace

void keepTemperature(Cooler& cooler, CameraState& state, StopSwitch& work) {
  if (!work.sleepFor(kStart)) return;
  while (work.running()) {
    attempt([&] { cooler.regulate(work); });
    for (int n = 0; n < kMeasurementsPerStep; ++n) {
      if (!work.sleepFor(kBeforeMeasurement)) return;
      attempt([&] { cooler.measure(); });
      if (!work.running()) return;
      state.temperatureKept = true;
      if (!work.sleepFor(kAfterMeasurement)) return;
    }
  }
}

}  // namespace orvik::cooler
