// SPDX-License-Identifier: MIT
#pragma once

#include "models/command_sensor.h"
#include "models/end_mark_camera.h"

namespace orvik {

/// The end-mark models whose sensor takes commands; see CommandSensor.
class CommandCamera : public EndMarkCamera {
 public:
  // The sensor's commands, under the names of the class interface
  bool issueCommand(std::uint8_t command);
  /// @return 1 standby, 2 streaming, 3 changing its configuration; 0 when it does not answer.
  std::uint8_t getState();
  bool changeConfig();
  /// @param value 0 when the read fails
  bool ReadVar16(std::uint16_t address, std::uint16_t* value);
  bool WriteVar16(std::uint16_t address, std::uint16_t value);
  /// The sensor's code of a gain: a power of two, and 32nds between it and the next.
  /// @param gain 0 to 100
  static int GainValue2Reg(int gain);

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
