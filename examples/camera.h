// SPDX-License-Identifier: MIT
// Common parts of the examples in C++: a camera that closes itself, and errors as exceptions.
#pragma once

#include <orvik/orvik_service.h>
#include <orvik/orvik_sim.h>

#include <cstdint>
#include <stdexcept>
#include <string>

/// Throws unless a call succeeded.
inline void check(Orvik_ERROR_CODE code, const std::string& doing) {
  if (code != Orvik_OK) {
    throw std::runtime_error(doing + ": " + OrvikErrorText(code));
  }
}

/// Camera 0, open: the first on the USB bus, or a virtual one of `model` unless that is null.
class Camera {
 public:
  explicit Camera(const char* model, const char* scene = "scene=stars") {
    if (model != nullptr && OrvikSimPlug(model, scene) < 0) {
      throw std::runtime_error(OrvikSimLastError());
    }
    if (OrvikGetNumOfConnectedCameras() == 0) throw std::runtime_error("No camera found.");
    check(OrvikOpenCamera(0), "opening the camera");
  }
  ~Camera() { OrvikCloseCamera(0); }  // also stops capture
  Camera(const Camera&) = delete;
  Camera& operator=(const Camera&) = delete;

  [[nodiscard]] static Orvik_CAMERA_INFO info() {
    Orvik_CAMERA_INFO info{};
    check(OrvikGetCameraProperty(&info, 0), "asking the camera");
    return info;
  }

  static void set(Orvik_CONTROL_TYPE type, std::int32_t value) {
    check(OrvikSetControlValue(0, type, value, Orvik_FALSE), "setting a control");
  }

  [[nodiscard]] static std::int32_t get(Orvik_CONTROL_TYPE type) {
    std::int32_t value = 0;
    Orvik_BOOL isAuto = Orvik_FALSE;
    check(OrvikGetControlValue(0, type, &value, &isAuto), "reading a control");
    return value;
  }
};
