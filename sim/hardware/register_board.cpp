// SPDX-License-Identifier: MIT
#include "sim/hardware/register_board.h"

#include <array>

#include "sim/hardware/answer.h"
#include "sim/hardware/vendor_requests.h"

namespace orvik::sim {
namespace {

constexpr int kSlowKilohertz = 24000;
constexpr int kFastKilohertz = 48000;

}  // namespace

bool RegisterBoard::command(std::uint8_t request, std::uint16_t value, std::uint16_t index) {
  switch (request) {
    case kWriteSensorWord:
      sensor_.write(value, index);
      return true;
    case kWriteFpga:
      logic_.write(value, static_cast<std::uint8_t>(index));
      return true;
    default:
      return choosesOutput_ && chooseOutput(request);
  }
}

bool RegisterBoard::chooseOutput(std::uint8_t request) {
  switch (request) {
    case kSlowSensorClock:
    case kFastSensorClock:
      fastClock_ = request == kFastSensorClock;
      return true;
    case kNarrowOutput:
    case kWideOutput:
      wide_ = request == kWideOutput;
      return true;
    default:
      return false;
  }
}

std::optional<std::size_t> RegisterBoard::answer(std::uint8_t request, std::uint16_t value,
                                                 std::span<std::uint8_t> room) {
  switch (request) {
    case kReadSensorWord: {
      const std::uint16_t word = sensor_.read(value);
      const std::array<std::uint8_t, 2> highByteFirst = {static_cast<std::uint8_t>(word >> 8U),
                                                         static_cast<std::uint8_t>(word)};
      return give(highByteFirst, room);
    }
    case kReadFpga:
      return giveByte(logic_.read(value), room);
    default:
      return std::nullopt;
  }
}

bool RegisterBoard::holds(std::uint8_t request, std::uint16_t address) const {
  switch (request) {
    case kWriteSensorWord:
    case kReadSensorWord:
      return sensor_.has(address);
    case kWriteFpga:
    case kReadFpga:
      return ShutterLogic::has(address);
    default:
      return true;
  }
}

SelfTimed RegisterBoard::sensorState() const {
  return sensor_.state(fastClock_ ? kFastKilohertz : kSlowKilohertz);
}

RunMode RegisterBoard::runMode() const {
  if (!sensor_.running()) return RunMode::kStopped;
  return sensorState().exposureLines == 0 ? RunMode::kTriggered : RunMode::kFreeRunning;
}

std::optional<FrameSettings> RegisterBoard::frameSettings() const {
  const SelfTimed sensor = sensorState();
  if (!logic_.gathers(sensor.lineCycles)) return std::nullopt;
  std::optional<FrameSettings> settings = decodeSelfTimed(sensor, format_);
  if (settings) {
    settings->wideOutput = wide_;
    settings->highByteFirst = wide_;
  }
  return settings;
}

}  // namespace orvik::sim
