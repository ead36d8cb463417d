// SPDX-License-Identifier: MIT
#pragma once

#include <indiproperty.h>

#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "orvik/orvik.hpp"

namespace orvik::indi {

using ControlValues = std::map<Orvik_CONTROL_TYPE, ControlValue>;

/// The properties with the controls of a camera: CCD_CONTROLS, CCD_CONTROLS_AUTO, and gain and
/// offset once more under the names that clients look for. Controls that have properties of their
/// own, such as those of the cooler, are left out. Event thread.
class ControlPanel {
 public:
  /// Makes the properties for the controls of a camera, with their present values.
  void build(const char* device, std::span<const Control> controls, const ControlValues& values);
  /// Those that the camera has.
  [[nodiscard]] const std::vector<INDI::Property>& properties() const { return properties_; }

  /// What a client wants to change; the property becomes busy. Empty if it is none of the panel's.
  std::optional<ControlValues> requested(const char* property, const double values[], char* names[],
                                         int count);
  std::optional<ControlValues> requested(const char* property, const ISState states[],
                                         char* names[], int count);
  /// Ends the busy state.
  void finish(const char* property, bool succeeded);
  /// Shows these values, and sends what has changed.
  void show(const ControlValues& values);

 private:
  template <typename Value, typename Meaning>
  std::optional<ControlValues> changes(const char* property, const Value values[], char* names[],
                                       int count, Meaning meaning);

  std::vector<INDI::Property> properties_;
  std::map<std::string, Control> elements_;  ///< what the elements of all properties stand for
  ControlValues shown_;
};

}  // namespace orvik::indi
