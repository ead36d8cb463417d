// SPDX-License-Identifier: MIT
#include "control_panel.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

namespace orvik::indi {
namespace {

constexpr const char* kTab = "Controls";
constexpr double kTimeout = 60;  // seconds

bool hasOwnProperty(Orvik_CONTROL_TYPE type) {
  return type == Orvik_CTL_EXPOSURE || type == Orvik_CTL_TARGET_TEMP || type == Orvik_CTL_COOLER_ON;
}

}  // namespace

void ControlPanel::build(std::span<const Control> controls, const ControlValues& values) {
  values_ = {};
  gain_ = {};
  offset_ = {};
  autos_ = INDI::PropertySwitch{0};
  autoTypes_.clear();
  for (const Control& control : controls) {
    const auto found = values.find(control.type());
    if (found == values.end() || !control.isWritable()) continue;
    const ControlValue now = found->second;
    const std::string name(control.name());
    if (!hasOwnProperty(control.type())) add(values_, control, name.c_str(), now);
    if (control.type() == Orvik_CTL_GAIN) add(gain_, control, "GAIN", now);
    if (control.type() == Orvik_CTL_BRIGHTNESS) add(offset_, control, "OFFSET", now);
    if (control.hasAuto()) {
      INDI::WidgetView<ISwitch> widget;
      widget.fill(name.c_str(), name.c_str(), now.isAuto ? ISS_ON : ISS_OFF);
      autos_.push(std::move(widget));
      autoTypes_.push_back(control.type());
    }
  }
  const char* device = device_.getDeviceName();
  values_.property.fill(device, "CCD_CONTROLS", "Controls", kTab, IP_RW, kTimeout, IPS_IDLE);
  gain_.property.fill(device, "CCD_GAIN", "Gain", kTab, IP_RW, kTimeout, IPS_IDLE);
  offset_.property.fill(device, "CCD_OFFSET", "Offset", kTab, IP_RW, kTimeout, IPS_IDLE);
  autos_.fill(device, "CCD_CONTROLS_AUTO", "Automatic", kTab, IP_RW, ISR_NOFMANY, kTimeout,
              IPS_IDLE);
}

void ControlPanel::add(Numbers& numbers, const Control& control, const char* element,
                       ControlValue now) {
  INDI::WidgetView<INumber> widget;
  const std::string label = &numbers == &values_ ? std::string(control.name()) : element;
  widget.fill(element, label.c_str(), "%.f", control.min(), control.max(), 1, now.value);
  numbers.property.push(std::move(widget));
  numbers.types.push_back(control.type());
}

void ControlPanel::define() {
  for (Numbers* one : {&values_, &gain_, &offset_}) {
    if (!one->types.empty()) device_.defineProperty(one->property);
  }
  if (!autoTypes_.empty()) device_.defineProperty(autos_);
}

void ControlPanel::remove() {
  for (Numbers* one : {&values_, &gain_, &offset_}) {
    if (!one->types.empty()) device_.deleteProperty(one->property.getName());
  }
  if (!autoTypes_.empty()) device_.deleteProperty(autos_.getName());
}

void ControlPanel::save(FILE* file) const {
  if (!values_.types.empty()) values_.property.save(file);
  if (!autoTypes_.empty()) autos_.save(file);
}

ControlPanel::Numbers* ControlPanel::numbers(const char* property) {
  for (Numbers* one : {&values_, &gain_, &offset_}) {
    if (!one->types.empty() && one->property.isNameMatch(property)) return one;
  }
  return nullptr;
}

std::optional<ControlValues> ControlPanel::requested(const char* property, const double values[],
                                                     char* names[], int count) {
  Numbers* const numbers = this->numbers(property);
  if (numbers == nullptr) return std::nullopt;
  ControlValues changes;
  for (int n = 0; n < count; ++n) {
    const int element = numbers->property.findWidgetIndexByName(names[n]);
    if (element < 0) continue;
    const auto& widget = numbers->property[static_cast<std::size_t>(element)];
    // What is only repeated stays as it is: setting a control would end its automatic mode.
    if (values[n] == widget.getValue()) continue;
    const double limited = std::clamp(values[n], widget.getMin(), widget.getMax());
    changes[numbers->types[static_cast<std::size_t>(element)]] = {
        static_cast<std::int32_t>(std::lround(limited)), false};
  }
  numbers->property.setState(IPS_BUSY);
  numbers->property.apply();
  return changes;
}

std::optional<ControlValues> ControlPanel::requested(const char* property, const ISState states[],
                                                     char* names[], int count) {
  if (autoTypes_.empty() || !autos_.isNameMatch(property)) return std::nullopt;
  ControlValues changes;
  for (int n = 0; n < count; ++n) {
    const int element = autos_.findWidgetIndexByName(names[n]);
    if (element < 0) continue;
    const auto position = static_cast<std::size_t>(element);
    if (autos_[position].getState() == states[n]) continue;
    // The value is that of the time at which the mode changes.
    changes[autoTypes_[position]] = {0, states[n] == ISS_ON};
  }
  autos_.setState(IPS_BUSY);
  autos_.apply();
  return changes;
}

void ControlPanel::finish(const char* property, bool succeeded) {
  const IPState state = succeeded ? IPS_OK : IPS_ALERT;
  if (Numbers* const numbers = this->numbers(property)) {
    numbers->property.setState(state);
    numbers->property.apply();
  } else if (!autoTypes_.empty() && autos_.isNameMatch(property)) {
    autos_.setState(state);
    autos_.apply();
  }
}

void ControlPanel::show(Numbers& numbers, const ControlValues& values) {
  bool isChanged = false;
  for (std::size_t n = 0; n < numbers.types.size(); ++n) {
    const auto now = values.find(numbers.types[n]);
    if (now == values.end() || numbers.property[n].getValue() == now->second.value) continue;
    numbers.property[n].setValue(now->second.value);
    isChanged = true;
  }
  if (isChanged) numbers.property.apply();
}

void ControlPanel::show(const ControlValues& values) {
  for (Numbers* one : {&values_, &gain_, &offset_}) show(*one, values);
  bool isChanged = false;
  for (std::size_t n = 0; n < autoTypes_.size(); ++n) {
    const auto now = values.find(autoTypes_[n]);
    if (now == values.end()) continue;
    const ISState state = now->second.isAuto ? ISS_ON : ISS_OFF;
    isChanged = isChanged || autos_[n].getState() != state;
    autos_[n].setState(state);
  }
  if (isChanged) autos_.apply();
}

}  // namespace orvik::indi
