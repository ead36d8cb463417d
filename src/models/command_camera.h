// SPDX-License-Identifier: MIT
#pragma once

#include "models/command_sensor.h"
#include "models/end_mark_camera.h"

namespace orvik {

/// The end-mark models whose sensor is controlled by commands; see CommandSensor.
class CommandCamera : public EndMarkCamera {
 public:
  [[nodiscard]] CommandSensor& sensor() const { return *sensor_; }
  /// The sensor's code for a gain: a power of two, and 32nds of the interval to the next one.
  /// @param gain 0 to 100
  static int gainCode(int gain);

 protected:
  CommandCamera(const ModelRow& row, const EndMarkFacts& facts);

  void startSensor() override;
  bool tellSensor(std::initializer_list<Setting> settings) override;

 private:
  CommandCamera(const ModelRow& row, const EndMarkFacts& facts,
                const std::shared_ptr<CommandSensor>& sensor);

  const std::shared_ptr<CommandSensor> sensor_;  ///< shared with the protocol
};

}  // namespace orvik
