// SPDX-License-Identifier: MIT
#include "tools/orvikctl/defaults.h"

namespace orvik::ctl {

bool isAsNew(const Control& control, ControlValue value) {
  switch (control.type()) {
    case Orvik_CTL_BANDWIDTH:
      return value.isAuto == control.hasAuto();
    case Orvik_CTL_HARDWARE_BIN:
      return true;
    default:
      return value == ControlValue{control.defaultValue(), false};
  }
}

}  // namespace orvik::ctl
