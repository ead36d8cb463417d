// SPDX-License-Identifier: MIT
#include "models/register_camera.h"

#include <algorithm>
#include <array>

#include "controls/control_table.h"
#include "models/end_mark_protocol.h"
#include "models/end_mark_timing.h"

namespace orvik {
namespace {

constexpr std::uint16_t kRunRegister = 0x301A;
constexpr std::uint16_t kStop = 0x10D8;
constexpr std::uint16_t kRun = 0x10DC;

constexpr std::uint16_t kHoldRegister = 0x3001;
constexpr std::uint16_t kClockPercentRegister = 0x300E;

/// FPGA registers, 8 bits each: low byte and high byte of the line length.
constexpr std::uint16_t kFpgaLineLength = 19;

constexpr std::uint16_t registerOf(SensorValue what) {
  switch (what) {
    case SensorValue::kFirstRow:
      return 0x3002;
    case SensorValue::kFirstColumn:
      return 0x3004;
    case SensorValue::kRows:
      return 0x3006;
    case SensorValue::kColumns:
      return 0x3008;
    case SensorValue::kFrameLength:
      return 0x300A;
    case SensorValue::kLineLength:
      return 0x300C;
    case SensorValue::kExposureLines:
      return 0x3012;
    case SensorValue::kBlackLevel:
      return 0x301E;
    case SensorValue::kGain:
      return 0x3028;
    case SensorValue::kRedGain:
      return 0x302A;
    case SensorValue::kBlueGain:
      return 0x302C;
  }
  return 0;
}

class RegisterProtocol final : public EndMarkProtocol {
 public:
  using EndMarkProtocol::EndMarkProtocol;

 private:
  void stopSensor(VendorLink& link) const override { link.writeSensorWord(kRunRegister, kStop); }
  void runSensor(VendorLink& link) const override { link.writeSensorWord(kRunRegister, kRun); }
};

}  // namespace

RegisterCamera::RegisterCamera(const ModelRow& row, const EndMarkFacts& facts)
    : EndMarkCamera(row, facts, std::make_shared<RegisterProtocol>(facts.transferBytes)) {}

void RegisterCamera::startSensor() {
  link().startSensorClock();
  link().writeSensorWord(kRunRegister, kStop);
}

bool RegisterCamera::tellSensor(std::initializer_list<Setting> settings) {
  link().writeSensorWord(kHoldRegister, 1);
  bool told = true;
  for (const auto& [what, value] : settings) {
    told &= link().writeSensorWord(registerOf(what), static_cast<std::uint16_t>(value));
  }
  return link().writeSensorWord(kHoldRegister, 0) && told;
}

// The FPGA must know the line length as well.
void RegisterCamera::writeLineLength() {
  EndMarkCamera::writeLineLength();
  const int length = state().lineLength;
  link().writeFpga(kFpgaLineLength, static_cast<std::uint16_t>(length & 0xFF));
  link().writeFpga(kFpgaLineLength + 1, static_cast<std::uint16_t>(length >> 8));
}

void RegisterCamera::useClock(bool fast) {
  if (offers(Orvik_CTL_HIGH_SPEED_MODE)) {
    link().send(fast ? VendorRequest::kSensorClock48MHz : VendorRequest::kSensorClock24MHz);
  }
  const int overClock = offers(Orvik_CTL_OVERCLK) ? state().overClock.load() : 0;
  if (offers(Orvik_CTL_OVERCLK)) {
    link().writeSensorWord(kClockPercentRegister, static_cast<std::uint16_t>(100 + overClock));
  }
  state().clockKhz = end_mark::clockFor(fast, overClock);
}

void RegisterCamera::selectClock() {
  if (isOpen()) useClock(state().highSpeedMode && !state().output16Bits);
}

bool RegisterCamera::selectClock(int khz) {
  const bool fast = khz == end_mark::kFastClockKhz && offers(Orvik_CTL_HIGH_SPEED_MODE);
  if (!isOpen() || (!fast && khz != end_mark::kNormalClockKhz)) return false;
  useClock(fast);
  return true;
}

void RegisterCamera::setSampleDepth(bool on) {
  state().output16Bits = on;
  if (!model().imageTypes.raw16) return;
  link().send(on ? VendorRequest::kOutput16Bits : VendorRequest::kOutput8Bits);
}

bool RegisterCamera::setOverclock(int percent) {
  if (!offers(Orvik_CTL_OVERCLK)) return false;
  const auto lock = lockSettings();
  const ControlRange range = controlRange(model(), Orvik_CTL_OVERCLK);
  state().overClock = std::clamp(percent, range.min, range.max);
  selectClock();
  followClock();
  return true;
}

}  // namespace orvik
