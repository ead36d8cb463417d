// SPDX-License-Identifier: MIT
#include "sim/hardware/marked_frame_board.h"

#include "sim/hardware/answer.h"
#include "sim/hardware/readout.h"
#include "sim/hardware/vendor_requests.h"

namespace orvik::sim {

bool MarkedFrameBoard::command(std::uint8_t request, std::uint16_t value, std::uint16_t index) {
  switch (request) {
    case kWriteSensor:
      sensor_.write(value, static_cast<std::uint8_t>(index));
      return true;
    case kWriteFpga:
      fpga_.write(value, static_cast<std::uint8_t>(index));
      return true;
    default:
      return false;
  }
}

std::optional<std::size_t> MarkedFrameBoard::answer(std::uint8_t request, std::uint16_t value,
                                                    std::span<std::uint8_t> room) {
  switch (request) {
    case kReadSensor:
      return giveByte(sensor_.read(value), room);
    case kReadFpga:
      return giveByte(fpga_.read(value), room);
    default:
      return std::nullopt;
  }
}

bool MarkedFrameBoard::holds(std::uint8_t request, std::uint16_t address) const {
  switch (request) {
    case kWriteSensor:
    case kReadSensor:
      return sensor_.has(address);
    case kWriteFpga:
    case kReadFpga:
      return Fpga::has(address);
    default:
      return true;
  }
}

RunMode MarkedFrameBoard::runMode() const {
  return sensor_.standby() ? RunMode::kStopped : fpga_.runMode();
}

std::optional<FrameSettings> MarkedFrameBoard::frameSettings() const {
  return decodeReadout(sensor_, fpga_, format_);
}

}  // namespace orvik::sim
