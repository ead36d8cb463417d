// SPDX-License-Identifier: MIT
#include "sim/hardware/sensor.h"

#include <algorithm>
#include <array>

namespace orvik::sim {
namespace {

constexpr std::uint16_t kExposureMode = 0x0000;
constexpr std::uint16_t kStandby = 0x3000;
constexpr std::uint16_t kHold = 0x3001;
constexpr std::uint16_t kMasterStart = 0x3002;
constexpr std::uint16_t kReset = 0x3003;
constexpr std::uint16_t kConverterDepth = 0x3005;
constexpr std::uint16_t kMode = 0x3006;
constexpr std::uint16_t kWindow = 0x3007;
constexpr std::uint16_t kClock = 0x3009;
constexpr std::uint16_t kBlackLevel = 0x300A;
constexpr std::uint16_t kGain = 0x3014;
constexpr std::uint16_t kShutter = 0x3020;
constexpr std::uint16_t kFirstRow = 0x3038;
constexpr std::uint16_t kRows = 0x303A;
constexpr std::uint16_t kFirstColumn = 0x303C;
constexpr std::uint16_t kColumns = 0x303E;
constexpr std::uint16_t kOutputBits = 0x3044;
constexpr std::uint16_t kSyncOutput = 0x3049;
constexpr std::uint16_t kClockGenerator = 0x305C;

constexpr std::uint8_t kMode2x2 = 0x22;
constexpr std::uint8_t kWindowed = 0x40;
constexpr std::uint8_t kOutput10Bits = 0xE0;
constexpr int kGeneratorOfBoard = 0x00200020;

/// Registers of one or more bytes, beside the trims.
struct Place {
  std::uint16_t address;
  std::uint16_t bytes;
};
constexpr std::array kPlaces = {
    Place{kStandby, 4},         // to the reset
    Place{kConverterDepth, 3},  // to the window
    Place{kClock, 3},           // and the black level
    Place{kGain, 2},           Place{kShutter, 3},    Place{kFirstRow, 8},
    Place{kOutputBits, 1},     Place{kSyncOutput, 1}, Place{kClockGenerator, 4},
};

// Cycles that a row of 1304 pixels takes; longer rows take as many more.
constexpr int kRowWidth = 1304;
constexpr int kRowCyclesAveraging = 145;
constexpr int kRowCyclesFast = 249;
constexpr int kRowCycles = 292;

constexpr std::uint8_t byteOf(int value, int index) {
  return static_cast<std::uint8_t>(value >> (8 * index));
}

}  // namespace

Sensor::Sensor(const Model& model)
    : features_(model.features),
      format_(model.sensor),
      trims_(kCommonTrims.begin(), kCommonTrims.end()) {
  if (features_.manyTrims) trims_.insert(trims_.end(), kTrims1304.begin(), kTrims1304.end());
  reset();
}

void Sensor::powerUp(std::uint16_t address, std::uint8_t value) {
  registers_.writeThrough(static_cast<std::size_t>(address - kFirst), value);
}

void Sensor::reset() {
  registers_ = {};
  powerUp(kStandby, 1);
  powerUp(kConverterDepth, 1);
  powerUp(kClock, 0x11);
  powerUp(kOutputBits, 0xE1);
  powerUp(kSyncOutput, 0x0A);
  powerUp(kClockGenerator, 0x0C);
  for (std::uint16_t n = 0; n < 2; ++n) {
    powerUp(static_cast<std::uint16_t>(kRows + n), byteOf(format_.height, n));
    powerUp(static_cast<std::uint16_t>(kColumns + n), byteOf(format_.width, n));
  }
  for (const Trim& trim : trims_) powerUp(trim.address, trim.value ^ 0x55U);
}

bool Sensor::has(std::uint16_t address) const {
  return address == kExposureMode ||
         std::ranges::any_of(kPlaces,
                             [&](const Place& place) {
                               return address >= place.address &&
                                      address < place.address + place.bytes;
                             }) ||
         std::ranges::find(trims_, address, &Trim::address) != trims_.end();
}

void Sensor::write(std::uint16_t address, std::uint8_t value) {
  if (address < kFirst || !has(address)) return;
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
  if (address < kFirst || !has(address)) return 0;
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

bool Sensor::followsFpga() const {
  return value(kMasterStart, 1) == 1 && value(kSyncOutput, 1) == 0;
}

Flaws Sensor::flaws() const {
  Flaws flaws;
  for (const Trim& trim : trims_) {
    if (value(trim.address, 1) == trim.value) continue;
    flaws.reference |= trim.stage == TrimStage::kReference;
    flaws.columns |= trim.stage == TrimStage::kColumns;
    flaws.converter |= trim.stage == TrimStage::kConverter;
  }
  return flaws;
}

// The mean of four conversions of 10 bits has 12.
int Sensor::converterBits() const {
  if (features_.fastConversion && value(kOutputBits, 1) == kOutput10Bits) return 10;
  return value(kConverterDepth, 1) == 1 || averages2x2() ? 12 : 10;
}

Area Sensor::readoutArea() const {
  if (value(kWindow, 1) != kWindowed) {
    return {.width = format_.width, .height = format_.height};
  }
  return {.x = value(kFirstColumn, 2),
          .y = value(kFirstRow, 2),
          .width = value(kColumns, 2),
          .height = value(kRows, 2)};
}

int Sensor::clockKilohertz() const {
  if (value(kClockGenerator, 4) != kGeneratorOfBoard) return 0;
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
