// SPDX-License-Identifier: MIT
#include "sim/hardware/command_board.h"

#include "sim/hardware/answer.h"
#include "sim/hardware/vendor_requests.h"

namespace orvik::sim {

bool CommandBoard::command(std::uint8_t request, std::uint16_t value, std::uint16_t index) {
  switch (request) {
    case kWriteSensor:
      sensor_.write(value, static_cast<std::uint8_t>(index));
      return true;
    case kWriteFpga:
      logic_.write(value, static_cast<std::uint8_t>(index));
      return true;
    default:
      return false;
  }
}

std::optional<std::size_t> CommandBoard::answer(std::uint8_t request, std::uint16_t value,
                                                std::span<std::uint8_t> room) {
  switch (request) {
    case kReadSensor:
      return giveByte(sensor_.read(value), room);
    case kReadFpga:
      return giveByte(logic_.read(value), room);
    default:
      return std::nullopt;
  }
}

bool CommandBoard::holds(std::uint8_t request, std::uint16_t address) const {
  switch (request) {
    case kWriteSensor:
    case kReadSensor:
      return CommandSensor::has(address);
    case kWriteFpga:
    case kReadFpga:
      return ShutterLogic::has(address);
    default:
      return true;
  }
}

RunMode CommandBoard::runMode() const {
  if (!sensor_.running()) return RunMode::kStopped;
  return sensor_.state(kKilohertz).exposureLines == 0 ? RunMode::kTriggered : RunMode::kFreeRunning;
}

std::optional<FrameSettings> CommandBoard::frameSettings() const {
  return decodeSelfTimed(sensor_.state(kKilohertz), format_);
}

}  // namespace orvik::sim
