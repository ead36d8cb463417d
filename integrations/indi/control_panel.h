// SPDX-License-Identifier: MIT
#pragma once

#include <defaultdevice.h>
#include <indipropertynumber.h>
#include <indipropertyswitch.h>

#include <cstdio>
#include <map>
#include <optional>
#include <span>
#include <vector>

#include "orvik/orvik.hpp"

namespace orvik::indi {

using ControlValues = std::map<Orvik_CONTROL_TYPE, ControlValue>;

/// The properties with the controls of a camera: CCD_CONTROLS, CCD_CONTROLS_AUTO, and gain and
/// offset once more under the names that clients look for. Controls that have properties of their
/// own, such as those of the cooler, are left out. Event thread.
class ControlPanel {
 public:
  explicit ControlPanel(INDI::DefaultDevice& device) : device_(device) {}

  /// Makes the properties for the controls of a camera, with their present values.
  void build(std::span<const Control> controls, const ControlValues& values);
  void define();
  void remove();
  void save(FILE* file) const;

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
  struct Numbers {
    INDI::PropertyNumber property{0};
    std::vector<Orvik_CONTROL_TYPE> types;  ///< of its elements
  };

  void add(Numbers& numbers, const Control& control, const char* element, ControlValue now);
  static void show(Numbers& numbers, const ControlValues& values);
  Numbers* numbers(const char* property);

  INDI::DefaultDevice& device_;
  Numbers values_, gain_, offset_;
  INDI::PropertySwitch autos_{0};
  std::vector<Orvik_CONTROL_TYPE> autoTypes_;
};

}  // namespace orvik::indi
