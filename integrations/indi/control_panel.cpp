// SPDX-License-Identifier: MIT
#include "control_panel.h"

#include <indipropertynumber.h>
#include <indipropertyswitch.h>

#include <algorithm>
#include <cmath>

#include "property_values.h"

namespace orvik::indi {
namespace {

bool hasOwnProperty(Orvik_CONTROL_TYPE type) {
  return type == Orvik_CTL_EXPOSURE || type == Orvik_CTL_TARGET_TEMP || type == Orvik_CTL_COOLER_ON;
}

}  // namespace

void ControlPanel::build(const char* device, std::span<const Control> controls,
                         const ControlValues& values) {
  constexpr const char* kTab = "Controls";
  constexpr double kTimeout = 60;  // seconds
  INDI::PropertyNumber all{0};
  INDI::PropertyNumber gain{0};
  INDI::PropertyNumber offset{0};
  INDI::PropertySwitch autos{0};
  elements_.clear();
  shown_ = values;
  for (const Control& control : controls) {
    if (!values.contains(control.type()) || !control.isWritable()) continue;
    const auto add = [&](INDI::PropertyNumber& property, const std::string& name) {
      INDI::WidgetView<INumber> element;
      element.fill(name, name, "%.f", control.min(), control.max(), 1,
                   shown_[control.type()].value);
      property.push(std::move(element));
      elements_.emplace(name, control);
    };
    const std::string name(control.name());
    if (!hasOwnProperty(control.type())) add(all, name);
    if (control.type() == Orvik_CTL_GAIN) add(gain, "GAIN");
    if (control.type() == Orvik_CTL_BRIGHTNESS) add(offset, "OFFSET");
    if (!control.hasAuto()) continue;
    INDI::WidgetView<ISwitch> element;
    element.fill(name, name, shown_[control.type()].isAuto ? ISS_ON : ISS_OFF);
    autos.push(std::move(element));
    elements_.emplace(name, control);
  }
  all.fill(device, "CCD_CONTROLS", "Controls", kTab, IP_RW, kTimeout, IPS_IDLE);
  gain.fill(device, "CCD_GAIN", "Gain", kTab, IP_RW, kTimeout, IPS_IDLE);
  offset.fill(device, "CCD_OFFSET", "Offset", kTab, IP_RW, kTimeout, IPS_IDLE);
  autos.fill(device, "CCD_CONTROLS_AUTO", "Automatic", kTab, IP_RW, ISR_NOFMANY, kTimeout,
             IPS_IDLE);
  properties_ = {all, gain, offset, autos};
  std::erase_if(properties_, [](const INDI::Property& one) { return one.isEmpty(); });
}

/// @param meaning what a value sent for a control means
template <typename Value, typename Meaning>
std::optional<ControlValues> ControlPanel::changes(const char* property, const Value values[],
                                                   char* names[], int count, Meaning meaning) {
  for (INDI::Property& one : properties_) {
    if (!one.isNameMatch(property)) continue;
    ControlValues changes;
    for (int n = 0; n < count; ++n) {
      const auto element = elements_.find(names[n]);
      if (element != elements_.end()) meaning(element->second, values[n], changes);
    }
    send(one, IPS_BUSY);
    return changes;
  }
  return std::nullopt;
}

std::optional<ControlValues> ControlPanel::requested(const char* property, const double values[],
                                                     char* names[], int count) {
  const auto meaning = [this](const Control& control, double value, ControlValues& changes) {
    // What is only repeated stays as it is: setting a control would end its automatic mode.
    if (value == shown_[control.type()].value) return;
    const double limited = std::clamp<double>(value, control.min(), control.max());
    changes[control.type()] = {static_cast<std::int32_t>(std::lround(limited)), false};
  };
  return changes(property, values, names, count, meaning);
}

std::optional<ControlValues> ControlPanel::requested(const char* property, const ISState states[],
                                                     char* names[], int count) {
  const auto meaning = [this](const Control& control, ISState state, ControlValues& changes) {
    const bool isAuto = state == ISS_ON;
    // The value is that of the time at which the mode changes.
    if (isAuto != shown_[control.type()].isAuto) changes[control.type()] = {0, isAuto};
  };
  return changes(property, states, names, count, meaning);
}

void ControlPanel::finish(const char* property, bool succeeded) {
  for (INDI::Property& one : properties_) {
    if (one.isNameMatch(property)) send(one, succeeded ? IPS_OK : IPS_ALERT);
  }
}

void ControlPanel::show(const ControlValues& values) {
  for (const auto& [type, value] : values) shown_[type] = value;
  for (INDI::Property& property : properties_) {
    bool isNew = false;
    const auto showAll = [&](auto* elements, auto member) {
      if (elements == nullptr) return;
      for (auto& element : *elements) {
        const ControlValue now = shown_[elements_.at(element.getName()).type()];
        isNew = replace(element, now.*member) || isNew;
      }
    };
    showAll(property.getNumber(), &ControlValue::value);
    showAll(property.getSwitch(), &ControlValue::isAuto);
    if (isNew) property.apply();
  }
}

}  // namespace orvik::indi
