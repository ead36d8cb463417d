// SPDX-License-Identifier: MIT
#include "models/command_camera.h"

#include <algorithm>
#include <bit>
#include <utility>

#include "base/current_clock.h"
#include "models/end_mark_protocol.h"

namespace orvik {
namespace {

using Command = CommandSensor::Command;

constexpr std::uint16_t addressOf(SensorValue what) {
  switch (what) {
    case SensorValue::kFirstRow:
      return 0x0100;
    case SensorValue::kFirstColumn:
      return 0x0102;
    case SensorValue::kRows:
      return 0x0104;
    case SensorValue::kColumns:
      return 0x0106;
    case SensorValue::kFrameLength:
      return 0x0108;
    case SensorValue::kLineLength:
      return 0x010A;
    case SensorValue::kExposureLines:
      return 0x010C;
    case SensorValue::kGain:
      return 0x010E;
    case SensorValue::kRedGain:
      return 0x0110;
    case SensorValue::kBlueGain:
      return 0x0112;
    case SensorValue::kBlackLevel:
      return 0x0114;
  }
  return 0;
}

class CommandProtocol final : public EndMarkProtocol {
 public:
  CommandProtocol(std::size_t transferBytes, std::shared_ptr<CommandSensor> sensor)
      : EndMarkProtocol(transferBytes), sensor_(std::move(sensor)) {}

 private:
  void stopSensor(VendorLink& link) const override { sensor_->issue(link, Command::kStandby); }
  void runSensor(VendorLink& link) const override { sensor_->issue(link, Command::kRun); }

  const std::shared_ptr<CommandSensor> sensor_;
};

}  // namespace

CommandCamera::CommandCamera(const ModelRow& row, const EndMarkFacts& facts)
    : CommandCamera(row, facts, std::make_shared<CommandSensor>(currentClock())) {}

CommandCamera::CommandCamera(const ModelRow& row, const EndMarkFacts& facts,
                             const std::shared_ptr<CommandSensor>& sensor)
    : EndMarkCamera(row, facts, std::make_shared<CommandProtocol>(facts.transferBytes, sensor)),
      sensor_(sensor) {}

int CommandCamera::gainCode(int gain) {
  const auto linear = static_cast<unsigned>(32 + std::clamp(gain, 0, 100) * 224 / 100);
  const auto coarse = static_cast<int>(std::bit_width(linear / 32)) - 1;
  return coarse * 32 + static_cast<int>(linear >> coarse) - 32;
}

void CommandCamera::startSensor() {
  link().startSensorClock();
  sensor_->issue(link(), Command::kStandby);
}

bool CommandCamera::tellSensor(std::initializer_list<Setting> settings) {
  const auto held = sensor_->lock();
  bool told = true;
  for (const auto& [what, value] : settings) {
    const int number = what == SensorValue::kGain ? gainCode(value) : value;
    told &= sensor_->write(link(), addressOf(what), static_cast<std::uint16_t>(number));
  }
  return sensor_->apply(link()) && told;
}

}  // namespace orvik
