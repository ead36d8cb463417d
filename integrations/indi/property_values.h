// SPDX-License-Identifier: MIT
#pragma once

#include <indipropertynumber.h>
#include <indipropertyswitch.h>

#include <vector>

namespace orvik::indi {

/// Writes a value. @return whether it is another one than before
inline bool replace(INDI::WidgetView<INumber>& element, double value) {
  const bool isNew = element.getValue() != value;
  element.setValue(value);
  return isNew;
}
inline bool replace(INDI::WidgetView<ISwitch>& element, bool isOn) {
  const ISState state = isOn ? ISS_ON : ISS_OFF;
  const bool isNew = element.getState() != state;
  element.setState(state);
  return isNew;
}

/// Shows the state and the values of a property, which is sent if anything has changed.
template <typename Property, typename Value>
void show(Property& property, IPState state, const std::vector<Value>& values) {
  bool isNew = property.getState() != state;
  property.setState(state);
  for (std::size_t n = 0; n < values.size(); ++n) isNew = replace(property[n], values[n]) || isNew;
  if (isNew) property.apply();
}

/// Sends a property in this state.
template <typename Property>
void send(Property& property, IPState state) {
  property.setState(state);
  property.apply();
}

}  // namespace orvik::indi
