// SPDX-License-Identifier: MIT
// Common part of the examples in C++: opening a camera.
#pragma once

#include <orvik/orvik_sim.h>

#include <orvik/orvik.hpp>
#include <stdexcept>

/// The only camera on the USB bus, or a virtual one of `model` unless that is null.
inline orvik::Camera openCamera(const char* model, const char* scene = "scene=stars") {
  if (model != nullptr && OrvikSimPlug(model, scene) < 0) {
    throw std::runtime_error(OrvikSimLastError());
  }
  return orvik::Camera::open();
}
