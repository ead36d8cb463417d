// SPDX-License-Identifier: MIT
#include "tools/orvikctl/defaults.h"

#include <system_error>

namespace orvik::ctl {

ControlValue defaultOf(const Control& control) {
  std::error_code error;
  const ControlValue now = control.read(error);
  const bool isAsItIs =
      control.type() == Orvik_CTL_BANDWIDTH || control.type() == Orvik_CTL_HARDWARE_BIN;
  return isAsItIs ? now : ControlValue{control.defaultValue(), false};
}

void resetControls(Camera& camera) {
  for (const Control& control : camera.controls()) {
    if (control.isWritable()) control.write(defaultOf(control));
  }
  if (camera.dark().info().inUse == Orvik_TRUE) camera.dark().use(false);
}

}  // namespace orvik::ctl
