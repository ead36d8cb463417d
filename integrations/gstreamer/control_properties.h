// SPDX-License-Identifier: MIT
#pragma once

#include <gst/gst.h>

#include <array>
#include <optional>
#include <string>
#include <system_error>

#include "orvik/orvik.hpp"

namespace orvik::gst {

/// The properties of orviksrc that are controls of the camera. Each has a row in the table of
/// control_properties.cpp.
///
/// A value is stored until a camera is opened, and then written to it. What was never set stays as
/// the camera has it.
class ControlProperties {
 public:
  static constexpr int kCount = 22;

  /// Installs the properties under the numbers from `first` on.
  static void install(GObjectClass* type, guint first);

  /// Stores a value, and writes it to the camera if that is open.
  ///
  /// @param which from 0 on
  /// @return what is to be reported to the user, or ""
  std::string set(Camera& camera, int which, const GValue* value);
  /// Reads from the camera, or, while that is closed, what was stored.
  void get(const Camera& camera, int which, GValue* value) const;
  /// Writes everything that was stored to a camera that was opened.
  ///
  /// @return what is to be reported to the user, or ""
  std::string apply(Camera& camera) const;

 private:
  [[nodiscard]] std::string write(Camera& camera, int which) const;
  [[nodiscard]] std::optional<int> storedMode(Orvik_CONTROL_TYPE type) const;

  std::array<std::optional<int>, kCount> stored_;
};

}  // namespace orvik::gst
