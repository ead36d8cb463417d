// SPDX-License-Identifier: MIT
#pragma once

#include "cooler/camera_cool.h"
#include "models/marked_frame_camera.h"

namespace orvik {

class CCameraT13C_C final : public MarkedFrameCamera<CCameraCool> {
 public:
  CCameraT13C_C();
  static const ModelRow kRow;
};

}  // namespace orvik
