// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string_view>

#include "integrations/server/alpaca/alpaca_camera.h"
#include "integrations/server/alpaca/answer.h"
#include "integrations/server/alpaca/arguments.h"

namespace orvik::server {

/// A member of the standard's camera interface, version 4, or of all devices.
struct Member {
  std::string_view name;  ///< as in a path
  Type type = Type::kInt;
  bool hasGet = false;  ///< whether the standard has a GET of it
  bool hasPut = false;
  std::array<Parameter, 2> parameters{};  ///< those that a PUT has to have
  bool needsConnection = true;
  /// Whether this camera has it; null for one that every camera has. Asked only about cameras that
  /// have been open.
  bool (*isOffered)(const CameraView&) = nullptr;
  /// The value. Null if no camera has the member, and for images, which have answers of their own.
  Json (*get)(const CameraView&) = nullptr;
  /// Does what a PUT asks for, after all other checks. Null if no camera has the member.
  void (*put)(AlpacaCamera&, const Arguments&, const PutDone&) = nullptr;

  /// No camera has it.
  [[nodiscard]] bool isMissing() const {
    return get == nullptr && put == nullptr && type != Type::kImage;
  }
};

/// Null if the standard has no such member.
const Member* findMember(std::string_view name);

}  // namespace orvik::server
