// SPDX-License-Identifier: MIT
#pragma once

#include "models/marked_frame_camera.h"

namespace orvik {

class CCameraT15C final : public MarkedFrameCamera<CCameraBase> {
 public:
  CCameraT15C();
  static const ModelRow kRow;
};

}  // namespace orvik
