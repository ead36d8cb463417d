// SPDX-License-Identifier: MIT
#include "sim/hardware/sensor.h"

namespace orvik::sim {
namespace {

constexpr std::uint16_t kStandby = 0x3000;
constexpr std::uint16_t kHold = 0x3001;
constexpr std::uint16_t kReset = 0x3003;
constexpr std::uint16_t kMode = 0x3006;
constexpr std::uint16_t kClock = 0x3009;
constexpr std::uint16_t kBlackLevel = 0x300A;
constexpr std::uint16_t kGain = 0x3014;
constexpr std::uint16_t kShutter = 0x3020;
constexpr std::uint16_t kFirstRow = 0x3038;
constexpr std::uint16_t kRows = 0x303A;
constexpr std::uint16_t kFirstColumn = 0x303C;
constexpr std::uint16_t kColumns = 0x303E;
constexpr std::uint16_t kConverter = 0x3044;

constexpr std::uint8_t kMode2x2 = 0x22;
constexpr std::uint8_t kConverter10Bits = 0xE0;

// Cycles that a row of 1304 pixels takes; longer rows take as many more.
constexpr int kRowWidth = 1304;
constexpr int kRowCyclesAveraging = 145;
constexpr int kRowCyclesFast = 249;
constexpr int kRowCycles = 292;

constexpr std::uint8_t byteOf(int value, int index) {
  return static_cast<std::uint8_t>(value >> (8 * index));
}

}  // namespace

Sensor::Sensor(const Model& model) : features_(model.features), format_(model.sensor) { reset(); }

void Sensor::reset() {
  registers_ = {};
  registers_.writeThrough(kStandby - kFirst, 1);
  registers_.writeThrough(kClock - kFirst, 0x11);
  registers_.writeThrough(kConverter - kFirst, 0xE1);
  for (int n = 0; n < 2; ++n) {
    const auto offset = static_cast<std::size_t>(n);
    registers_.writeThrough(kRows - kFirst + offset, byteOf(format_.height, n));
    registers_.writeThrough(kColumns - kFirst + offset, byteOf(format_.width, n));
  }
}

void Sensor::write(std::uint16_t address, std::uint8_t value) {
  if (address < kFirst || address >= kFirst + kCount) return;
  const std::size_t index = address - kFirst;
  switch (address) {
    case kReset:
      if ((value & 1U) != 0) reset();
      return;
    case kHold:
      registers_.writeThrough(index, value);
      registers_.hold((value & 1U) != 0);
      return;
    case kStandby:
      registers_.writeThrough(index, value);
      return;
    default:
      registers_.write(index, value);
  }
}

std::uint8_t Sensor::read(std::uint16_t address) const {
  if (address < kFirst || address >= kFirst + kCount) return 0;
  return registers_.written(static_cast<std::size_t>(address - kFirst));
}

int Sensor::value(std::uint16_t address, std::size_t bytes) const {
  return registers_.activeValue(static_cast<std::size_t>(address - kFirst), bytes);
}

bool Sensor::standby() const { return (value(kStandby, 1) & 1) != 0; }
bool Sensor::averages2x2() const { return features_.averages2x2 && value(kMode, 1) == kMode2x2; }
int Sensor::blackLevel() const { return value(kBlackLevel, 2) & 0xFFF; }
int Sensor::gain() const { return value(kGain, 2); }
int Sensor::shutterLine() const { return value(kShutter, 3); }
int Sensor::converterBits() const {
  return features_.fastConversion && value(kConverter, 1) == kConverter10Bits ? 10 : 12;
}

Area Sensor::readoutArea() const {
  return {.x = value(kFirstColumn, 2),
          .y = value(kFirstRow, 2),
          .width = value(kColumns, 2),
          .height = value(kRows, 2)};
}

int Sensor::clockKilohertz() const {
  switch (value(kClock, 1)) {
    case 0x10:
      if (averages2x2()) return 9281;
      return features_.fastConversion ? 37124 : 0;
    case 0x11:
      return 18562;
    case 0x12:
      return 9281;
    default:
      return 0;
  }
}

int Sensor::leastLineCycles() const {
  const bool fastest = value(kClock, 1) == 0x10;
  const int cycles = fastest ? (averages2x2() ? kRowCyclesAveraging : kRowCyclesFast) : kRowCycles;
  return cycles * format_.width / kRowWidth;
}

}  // namespace orvik::sim
