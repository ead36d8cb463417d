// SPDX-License-Identifier: MIT
#include "soak/camera_callers.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <limits>
#include <mutex>

#include "soak/guarded_buffer.h"

namespace orvik::soak {
namespace {

using namespace std::chrono_literals;

/// @return one of `values`, chosen at random.
template <typename T, std::size_t kCount>
T pick(sim::Random& random, const std::array<T, kCount>& values) {
  return values.at(static_cast<std::size_t>(random.below(static_cast<int>(kCount))));
}

constexpr std::array kValues = {-1,
                                0,
                                1,
                                2,
                                3,
                                32,
                                50,
                                99,
                                100,
                                240,
                                1000,
                                20'000,
                                600'000,
                                2'000'000,
                                1 << 30,
                                std::numeric_limits<int>::max(),
                                std::numeric_limits<int>::min()};

}  // namespace

CameraCallers::CameraCallers(int index, std::uint64_t seed)
    : index_(index),
      conductor_([this, seed] { conduct(sim::Random(3 * seed)); }),
      fetcher_([this, seed] { fetch(sim::Random(3 * seed + 1)); }),
      tuner_([this, seed] { tune(sim::Random(3 * seed + 2)); }) {}

CameraCallers::~CameraCallers() { end(); }

void CameraCallers::end() {
  over_ = true;
  if (conductor_.joinable()) conductor_.join();
  if (fetcher_.joinable()) fetcher_.join();
  if (tuner_.joinable()) tuner_.join();
}

/// Reports whether the camera is open. Calls on a closed camera are tried too, but less often.
bool CameraCallers::isOpen(Calls& calls) {
  const std::shared_lock insideACall(inside_);
  int count = 0;
  return calls.make("OrvikGetNumOfControls",
                    [&] { return OrvikGetNumOfControls(index_, &count); }) == Orvik_OK;
}

void CameraCallers::conduct(sim::Random random) {
  while (!over_) {
    if (closing_ || !isOpen(conducting_)) std::this_thread::sleep_for(5ms);
    if (closing_) continue;
    const std::shared_lock insideACall(inside_);
    conductOnce(random);
  }
}

void CameraCallers::conductOnce(sim::Random& random) {
  switch (random.below(8)) {
    case 0:
      return setFormat(conducting_, random);
    case 1:
    case 2:
      return capture(random);
    case 3:
      return useExtras(random);
    default:
      return useControls(random);
  }
}

void CameraCallers::setFormat(Calls& calls, sim::Random& random) {
  const bool sane = random.below(4) != 0;
  const int width = sane ? 8 * (1 + random.below(60)) : pick(random, kValues);
  const int height = sane ? 2 * (1 + random.below(200)) : pick(random, kValues);
  const int bin = sane ? 1 + random.below(2) : random.below(7) - 1;
  const auto type = static_cast<IMG_TYPE>(random.below(sane ? 4 : 7) - (sane ? 0 : 1));
  const std::lock_guard lock(format_);
  calls.make("OrvikSetROIFormat",
             [&] { return OrvikSetROIFormat(index_, width, height, bin, type); });
  const int x = sane ? random.below(400) : pick(random, kValues);
  const int y = sane ? random.below(400) : pick(random, kValues);
  calls.make("OrvikSetStartPos", [&] { return OrvikSetStartPos(index_, x, y); });
}

void CameraCallers::capture(sim::Random& random) {
  {
    const std::lock_guard lock(capture_);
    if (closing_) return;
    switch (random.below(8)) {
      case 0:
        conducting_.make("OrvikStartExposure", [&] { return OrvikStartExposure(index_); });
        break;
      case 1:
        conducting_.make("OrvikStopExposure", [&] { return OrvikStopExposure(index_); });
        break;
      case 2:
        conducting_.make("OrvikStopVideoCapture", [&] { return OrvikStopVideoCapture(index_); });
        break;
      default:
        conducting_.make("OrvikStartVideoCapture", [&] { return OrvikStartVideoCapture(index_); });
    }
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(random.below(150)));
}

void CameraCallers::useControls(sim::Random& random) {
  Orvik_CONTROL_CAPS caps;
  conducting_.make("OrvikGetControlCaps",
                   [&] { return OrvikGetControlCaps(index_, random.below(20) - 1, &caps); });
  const auto type = static_cast<Orvik_CONTROL_TYPE>(random.below(20) - 1);
  std::int32_t value = pick(random, kValues);
  // Most exposures are short, because long ones would take up the whole round.
  if (type == Orvik_CTL_EXPOSURE && random.below(10) != 0) value = 100 + random.below(20'000);
  const auto automatic = static_cast<Orvik_BOOL>(random.below(3));
  conducting_.make("OrvikSetControlValue",
                   [&] { return OrvikSetControlValue(index_, type, value, automatic); });
  Orvik_BOOL isAutomatic = Orvik_FALSE;
  conducting_.make("OrvikGetControlValue",
                   [&] { return OrvikGetControlValue(index_, type, &value, &isAutomatic); });
}

void CameraCallers::useExtras(sim::Random& random) {
  const auto direction = static_cast<GuideD>(random.below(6) - 1);
  conducting_.make("OrvikPulseGuideOn", [&] { return OrvikPulseGuideOn(index_, direction); });
  if (random.below(2) == 0) {
    conducting_.make("OrvikPulseGuideOff", [&] { return OrvikPulseGuideOff(index_, direction); });
  }
  Orvik_ID mark{};
  if (random.below(4) == 0) {
    conducting_.make("OrvikGetID", [&] { return OrvikGetID(index_, &mark); });
  }
  if (random.below(40) == 0) {
    conducting_.make("OrvikSetID", [&] { return OrvikSetID(index_, mark); });
  }
  Orvik_BOOL inUse = static_cast<Orvik_BOOL>(random.below(2));
  char nowhere[] = "/nowhere/dark.bmp";
  conducting_.make("OrvikEnableDarkSubtract",
                   [&] { return OrvikEnableDarkSubtract(index_, nowhere, &inUse); });
  conducting_.make("OrvikDisableDarkSubtract", [&] { return OrvikDisableDarkSubtract(index_); });
}

void CameraCallers::fetch(sim::Random random) {
  GuardedBuffer buffer;
  while (!over_) {
    if (closing_ || !isOpen(fetching_)) std::this_thread::sleep_for(5ms);
    if (closing_) continue;
    const std::shared_lock insideACall(inside_);
    int width = 0;
    int height = 0;
    int bin = 0;
    IMG_TYPE type = Orvik_IMG_RAW8;
    fetching_.make("OrvikGetROIFormat",
                   [&] { return OrvikGetROIFormat(index_, &width, &height, &bin, &type); });
    // Either exactly the required size, or too small.
    const std::size_t bytes = static_cast<std::size_t>(random.below(3)) *
                              static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                              3 / 2;
    unsigned char* const image = buffer.resize(bytes);
    const auto size = static_cast<std::int32_t>(bytes);
    Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
    fetching_.make("OrvikGetExpStatus", [&] { return OrvikGetExpStatus(index_, &status); });
    if (status == Orvik_EXPSTATE_READY) {
      fetching_.make("OrvikGetDataAfterExp",
                     [&] { return OrvikGetDataAfterExp(index_, image, size); });
    } else {
      const auto code = fetching_.make("OrvikGetVideoData", [&] {
        return OrvikGetVideoData(index_, image, size, random.below(60) - 1);
      });
      if (code == Orvik_OK) ++images_;
    }
    int dropped = 0;
    fetching_.make("OrvikGetDroppedFrames",
                   [&] { return OrvikGetDroppedFrames(index_, &dropped); });
    if (random.below(8) == 0) std::this_thread::sleep_for(10ms);
  }
}

void CameraCallers::tune(sim::Random random) {
  while (!over_) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5 + random.below(60)));
    if (closing_ || !isOpen(tuning_)) continue;
    const std::shared_lock insideACall(inside_);
    tuneOnce(random);
  }
}

void CameraCallers::tuneOnce(sim::Random& random) {
  const auto set = [&](Orvik_CONTROL_TYPE type, std::int32_t value) {
    tuning_.make("OrvikSetControlValue", [&] {
      return OrvikSetControlValue(index_, type, value,
                                  random.below(8) == 0 ? Orvik_TRUE : Orvik_FALSE);
    });
  };
  switch (random.below(8)) {
    case 0:
      return setFormat(tuning_, random);
    case 1:
      return set(Orvik_CTL_HARDWARE_BIN, random.below(2));
    case 2:
      return set(Orvik_CTL_HIGH_SPEED_MODE, random.below(2));
    case 3:
      return set(Orvik_CTL_BANDWIDTH, 40 + random.below(61));
    case 4:
      return set(Orvik_CTL_GAIN, random.below(300));
    case 5:  // starts an exposure timed by the host and soon ends it
      set(Orvik_CTL_EXPOSURE, 1'000'000 + random.below(200'000));
      std::this_thread::sleep_for(std::chrono::milliseconds(random.below(30)));
      [[fallthrough]];
    default:
      return set(Orvik_CTL_EXPOSURE, 100 + random.below(20'000));
  }
}

}  // namespace orvik::soak
