// SPDX-License-Identifier: MIT
#include "sim/hardware/sensor_board.h"

#include "sim/hardware/command_board.h"
#include "sim/hardware/marked_frame_board.h"
#include "sim/hardware/register_board.h"

namespace orvik::sim {

std::unique_ptr<SensorBoard> makeBoard(const Model& model) {
  switch (model.board) {
    case BoardKind::kRegisterSensor:
      return std::make_unique<RegisterBoard>(model);
    case BoardKind::kCommandSensor:
      return std::make_unique<CommandBoard>(model);
    case BoardKind::kMarkedFrames:
      break;
  }
  return std::make_unique<MarkedFrameBoard>(model);
}

}  // namespace orvik::sim
