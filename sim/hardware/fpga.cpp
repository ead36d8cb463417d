// SPDX-License-Identifier: MIT
#include "sim/hardware/fpga.h"

#include <array>

namespace orvik::sim {
namespace {

constexpr std::uint16_t kRun = 0;
constexpr std::uint16_t kHold = 1;
constexpr std::uint16_t kInputMode = 2;
constexpr std::uint16_t kColumns = 4;
constexpr std::uint16_t kInputPhase = 6;
constexpr std::uint16_t kRows = 8;
constexpr std::uint16_t kDepth = 10;
constexpr std::uint16_t kShutter = 11;
constexpr std::uint16_t kRedGain = 12;
constexpr std::uint16_t kBlueGain = 15;
constexpr std::uint16_t kFrameLines = 16;
constexpr std::uint16_t kLineCycles = 19;
constexpr std::uint16_t kVersion = 29;
constexpr std::array<std::uint8_t, 3> kVersionBytes = {1, 0x20, 0x26};

constexpr std::uint8_t kUnityGain = 128;

}  // namespace

Fpga::Fpga() {
  for (std::size_t n = 0; n < kVersionBytes.size(); ++n) {
    registers_.writeThrough(kVersion + n, kVersionBytes.at(n));
  }
}

bool Fpga::has(std::uint16_t number) {
  switch (number) {
    case kRun:
    case kHold:
    case kInputMode:
    case kInputPhase:
    case kDepth:
    case kShutter:
      return true;
    default:
      return (number >= kColumns && number < kColumns + 2) ||
             (number >= kRows && number < kRows + 2) ||
             (number >= kRedGain && number < kLineCycles + 2) ||
             (number >= kVersion && number < kVersion + kVersionBytes.size());
  }
}

void Fpga::write(std::uint16_t number, std::uint8_t value) {
  if (!has(number)) return;
  if (number >= kVersion && number < kVersion + kVersionBytes.size()) return;
  switch (number) {
    case kHold:
      registers_.writeThrough(number, value);
      registers_.hold((value & 1U) != 0);
      return;
    case kRun:
    case kShutter:
      registers_.writeThrough(number, value);
      return;
    default:
      registers_.write(number, value);
  }
}

std::uint8_t Fpga::read(std::uint16_t number) const {
  return has(number) ? registers_.written(number) : std::uint8_t{0};
}

RunMode Fpga::runMode() const {
  switch (registers_.active(kRun)) {
    case 0x21:
      return RunMode::kFreeRunning;
    case 0xE1:
      return RunMode::kTriggered;
    default:
      return RunMode::kStopped;
  }
}

bool Fpga::shutterOpen() const { return (registers_.active(kShutter) & 1U) != 0; }

int Fpga::expectedSensorBin() const {
  const int mode = registers_.active(kInputMode);
  const int phase = registers_.active(kInputPhase);
  if (mode == 4 && phase == 9) return 1;
  if (mode == 2 && phase == 5) return 2;
  return 0;
}

int Fpga::columns() const { return registers_.activeValue(kColumns, 2); }
int Fpga::rows() const { return registers_.activeValue(kRows, 2); }
int Fpga::linkBits() const { return (registers_.active(kDepth) & 0x01U) != 0 ? 12 : 10; }
bool Fpga::wideOutput() const { return (registers_.active(kDepth) & 0x10U) != 0; }
int Fpga::frameLines() const { return registers_.activeValue(kFrameLines, 3); }
int Fpga::lineCycles() const { return registers_.activeValue(kLineCycles, 2); }

std::uint8_t Fpga::colourGain(Filter filter, bool redRow) const {
  switch (filter) {
    case Filter::kRed:
      return registers_.active(kRedGain);
    case Filter::kGreen:
      return registers_.active(redRow ? kRedGain + 1 : kBlueGain - 1);
    case Filter::kBlue:
      return registers_.active(kBlueGain);
    case Filter::kClear:
      break;
  }
  return kUnityGain;
}

}  // namespace orvik::sim
