// SPDX-License-Identifier: MIT
// The cooler. INDI's base class makes the ramp: it sets the next temperature once a minute.
#include <cmath>

#include "camera_device.h"
#include "property_values.h"

namespace orvik::indi {

int CameraDevice::SetTemperature(double celsius) {
  if (link_ != Link::kOpen) return -1;
  // The camera regulates to whole degrees. A step of the ramp must not be lost by rounding.
  const bool isWarming = celsius > TemperatureN[0].value;
  const double rounded = isWarming ? std::ceil(celsius) : std::floor(celsius);
  setControls("CCD_TEMPERATURE",
              {{Orvik_CTL_TARGET_TEMP, {static_cast<std::int32_t>(rounded), false}},
               {Orvik_CTL_COOLER_ON, {1, false}}});
  return 0;
}

bool CameraDevice::coolerRequested(ISState* states, char* names[], int count) {
  coolerSwitch_.update(states, names, count);
  const bool isOn = coolerSwitch_[0].getState() == ISS_ON;
  send(coolerSwitch_, IPS_BUSY);
  setControls("CCD_COOLER", {{Orvik_CTL_COOLER_ON, {isOn ? 1 : 0, false}}});
  if (isOn) return true;
  m_TemperatureCheckTimer.stop();
  TemperatureNP.s = IPS_IDLE;
  IDSetNumber(&TemperatureNP, nullptr);
  return true;
}

void CameraDevice::showTemperature(const ControlValues& values) {
  const auto found = values.find(Orvik_CTL_TEMPERATURE);
  if (found == values.end()) return;
  const double celsius = found->second.value / 10.0;
  if (std::exchange(TemperatureN[0].value, celsius) == celsius || !isConnected()) return;
  IDSetNumber(&TemperatureNP, nullptr);
}

void CameraDevice::showCooler(const Orvik_COOLER_STATUS& cooler) {
  const bool isOn = cooler.isRegulating == Orvik_TRUE;
  show(coolerSwitch_, isOn ? IPS_OK : IPS_IDLE, std::vector<bool>{isOn, !isOn});
  IPState state = cooler.power > 0 ? IPS_BUSY : IPS_IDLE;
  if (cooler.fault != Orvik_COOLER_NO_FAULT) {
    state = IPS_ALERT;
    if (coolerPower_.getState() != state) {
      LOG_ERROR("The cooler is without power: its temperature cannot be measured.");
    }
  }
  show(coolerPower_, state, std::vector<double>{static_cast<double>(cooler.power)});
  // A target that is too cold to be measured is replaced by the coldest one.
  if (isOn && TemperatureNP.s == IPS_BUSY && cooler.aim > TemperatureN[0].value &&
      m_TargetTemperature < cooler.aim) {
    m_TargetTemperature = cooler.aim;
  }
}

}  // namespace orvik::indi
