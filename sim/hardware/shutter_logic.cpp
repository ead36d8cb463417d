// SPDX-License-Identifier: MIT
#include "sim/hardware/shutter_logic.h"

namespace orvik::sim {
namespace {

constexpr std::uint16_t kShutter = 11;
constexpr std::uint16_t kLineLow = 19;
constexpr std::uint16_t kLineHigh = 20;

}  // namespace

bool ShutterLogic::has(std::uint16_t number) {
  return number == kShutter || number == kLineLow || number == kLineHigh ||
         (number >= 29 && number <= 31);
}

void ShutterLogic::write(std::uint16_t number, std::uint8_t value) {
  switch (number) {
    case kShutter:
      shutterOpen_ = (value & 1U) != 0;
      return;
    case kLineLow:
      lineCycles_ = static_cast<std::uint16_t>((lineCycles_ & 0xFF00U) | value);
      return;
    case kLineHigh:
      lineCycles_ = static_cast<std::uint16_t>((lineCycles_ & 0xFFU) | unsigned{value} << 8U);
      return;
    default:
      return;
  }
}

std::uint8_t ShutterLogic::read(std::uint16_t number) const {
  switch (number) {
    case kShutter:
      return shutterOpen_ ? 1 : 0;
    case kLineLow:
      return static_cast<std::uint8_t>(lineCycles_);
    case kLineHigh:
      return static_cast<std::uint8_t>(lineCycles_ >> 8U);
    case 29:
      return 1;
    case 30:
      return 0x20;
    case 31:
      return 0x26;
    default:
      return 0;
  }
}

}  // namespace orvik::sim
