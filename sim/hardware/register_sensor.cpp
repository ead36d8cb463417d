// SPDX-License-Identifier: MIT
#include "sim/hardware/register_sensor.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvik::sim {
namespace {

constexpr std::uint16_t kHold = 0x3001;
constexpr std::uint16_t kFirstRow = 0x3002;
constexpr std::uint16_t kFirstColumn = 0x3004;
constexpr std::uint16_t kRows = 0x3006;
constexpr std::uint16_t kColumns = 0x3008;
constexpr std::uint16_t kFrameLines = 0x300A;
constexpr std::uint16_t kLineCycles = 0x300C;
constexpr std::uint16_t kClockPercent = 0x300E;
constexpr std::uint16_t kExposure = 0x3012;
constexpr std::uint16_t kRun = 0x301A;
constexpr std::uint16_t kBlackLevel = 0x301E;
constexpr std::uint16_t kGain = 0x3028;
constexpr std::uint16_t kRedGain = 0x302A;
constexpr std::uint16_t kBlueGain = 0x302C;

constexpr std::uint16_t kStopped = 0x10D8;
constexpr std::uint16_t kRunning = 0x10DC;
constexpr int kMostGain = 100;

/// A gain of the whole range multiplies by ten.
double amplificationOf(int gain) { return std::pow(10, std::min(gain, kMostGain) / 100.0); }

}  // namespace

RegisterSensor::RegisterSensor(const Model& model) : features_(model.features) {
  const SensorFormat& format = model.sensor;
  const std::pair<std::uint16_t, int> powerUp[] = {
      {kRows, format.height},
      {kColumns, format.width},
      {kFrameLines, format.height + 18},
      {kLineCycles, format.width + 94},
      {kClockPercent, 100},
      {kExposure, format.height},
      {kRun, kStopped},
      {kGain, 1},
      {kRedGain, 128},
      {kBlueGain, 128},
  };
  for (const auto& [address, value] : powerUp) {
    if (has(address)) write(address, static_cast<std::uint16_t>(value));
  }
}

bool RegisterSensor::has(std::uint16_t address) const {
  switch (address) {
    case kHold:
    case kFirstRow:
    case kFirstColumn:
    case kRows:
    case kColumns:
    case kFrameLines:
    case kLineCycles:
    case kExposure:
    case kRun:
    case kBlackLevel:
    case kGain:
      return true;
    case kClockPercent:
      return features_.overClock;
    case kRedGain:
    case kBlueGain:
      return features_.colourGains;
    default:
      return false;
  }
}

void RegisterSensor::write(std::uint16_t address, std::uint16_t value) {
  if (!has(address)) return;
  const std::size_t index = address - kFirst;
  switch (address) {
    case kHold:
      registers_.writeThrough(index, value);
      registers_.hold((value & 1U) != 0);
      return;
    case kRun:
      registers_.writeThrough(index, value);
      return;
    default:
      registers_.write(index, value);
  }
}

std::uint16_t RegisterSensor::read(std::uint16_t address) const {
  return has(address) ? registers_.written(static_cast<std::size_t>(address - kFirst)) : 0;
}

int RegisterSensor::value(std::uint16_t address) const {
  return registers_.active(static_cast<std::size_t>(address - kFirst));
}

bool RegisterSensor::running() const { return value(kRun) == kRunning; }

int RegisterSensor::clockPercent() const {
  if (!features_.overClock) return 100;
  const int percent = value(kClockPercent);
  return percent >= 100 && percent <= 130 ? percent : 0;
}

SelfTimed RegisterSensor::state(int kilohertz) const {
  SelfTimed state;
  state.area = {.x = value(kFirstColumn),
                .y = value(kFirstRow),
                .width = value(kColumns),
                .height = value(kRows)};
  state.frameLines = value(kFrameLines);
  state.lineCycles = value(kLineCycles);
  state.exposureLines = value(kExposure);
  state.kilohertz = kilohertz * clockPercent() / 100;
  state.amplification = amplificationOf(value(kGain));
  state.blackLevel = value(kBlackLevel) & 0xFFF;
  if (features_.colourGains) {
    state.redGain = value(kRedGain);
    state.blueGain = value(kBlueGain);
  }
  return state;
}

}  // namespace orvik::sim
