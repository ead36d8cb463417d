// SPDX-License-Identifier: MIT
// The cooler. INDI's base class makes the ramp: it sets the next temperature once a minute.
#include <algorithm>
#include <cmath>
#include <cstring>

#include "camera_device.h"

namespace orvik::indi {

void CameraDevice::initCooler() {
  coolerSwitch_[0].fill("COOLER_ON", "On", ISS_OFF);
  coolerSwitch_[1].fill("COOLER_OFF", "Off", ISS_ON);
  coolerSwitch_.fill(getDeviceName(), "CCD_COOLER", "Cooler", MAIN_CONTROL_TAB, IP_RW, ISR_1OFMANY,
                     60, IPS_IDLE);
  coolerPower_[0].fill("CCD_COOLER_VALUE", "Power (%)", "%.f", 0, 100, 1, 0);
  coolerPower_.fill(getDeviceName(), "CCD_COOLER_POWER", "Cooler power", MAIN_CONTROL_TAB, IP_RO,
                    60, IPS_IDLE);
}

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
  coolerSwitch_.setState(IPS_BUSY);
  coolerSwitch_.apply();
  setControls("CCD_COOLER", {{Orvik_CTL_COOLER_ON, {isOn ? 1 : 0, false}}});
  if (!isOn) {
    m_TemperatureCheckTimer.stop();
    TemperatureNP.s = IPS_IDLE;
    IDSetNumber(&TemperatureNP, nullptr);
  }
  return true;
}

void CameraDevice::showTemperature(const Status& status) {
  const auto celsius = status.values.find(Orvik_CTL_TEMPERATURE);
  if (celsius != status.values.end()) {
    const double now = celsius->second.value / 10.0;
    if (now != TemperatureN[0].value) {
      TemperatureN[0].value = now;
      if (isConnected()) IDSetNumber(&TemperatureNP, nullptr);
    }
  }
  if (!status.cooler) return;
  const Orvik_COOLER_STATUS& cooler = *status.cooler;
  const ISState isOn = cooler.isRegulating == Orvik_TRUE ? ISS_ON : ISS_OFF;
  const IPState state = cooler.fault != Orvik_COOLER_NO_FAULT ? IPS_ALERT
                        : cooler.power > 0                    ? IPS_BUSY
                                                              : IPS_IDLE;
  if (coolerSwitch_[0].getState() != isOn || coolerSwitch_.getState() == IPS_BUSY) {
    coolerSwitch_[0].setState(isOn);
    coolerSwitch_[1].setState(isOn == ISS_ON ? ISS_OFF : ISS_ON);
    coolerSwitch_.setState(isOn == ISS_ON ? IPS_OK : IPS_IDLE);
    coolerSwitch_.apply();
  }
  if (coolerPower_[0].getValue() != cooler.power || coolerPower_.getState() != state) {
    if (state == IPS_ALERT && coolerPower_.getState() != IPS_ALERT) {
      LOG_ERROR("The cooler is without power: its temperature cannot be measured.");
    }
    coolerPower_[0].setValue(cooler.power);
    coolerPower_.setState(state);
    coolerPower_.apply();
  }
  // A target that is too cold to be measured is replaced by the coldest one.
  if (isOn == ISS_ON && TemperatureNP.s == IPS_BUSY && cooler.aim > TemperatureN[0].value &&
      m_TargetTemperature < cooler.aim) {
    m_TargetTemperature = cooler.aim;
  }
}

}  // namespace orvik::indi
