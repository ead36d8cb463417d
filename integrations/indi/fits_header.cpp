// SPDX-License-Identifier: MIT
// What the FITS header says beyond INDI's base class, from the facts about the image.
#include <cstdio>
#include <ctime>

#include "camera_device.h"

namespace orvik::indi {
namespace {

std::string timeText(std::chrono::system_clock::time_point time) {
  const auto us = std::chrono::floor<std::chrono::microseconds>(time).time_since_epoch().count();
  const std::time_t seconds = us / 1000000;
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  std::array<char, 64> text{};
  const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &utc);
  std::snprintf(text.data() + length, text.size() - length, ".%06d",
                static_cast<int>(us % 1000000));
  return text.data();
}

}  // namespace

void CameraDevice::addFITSKeywords(INDI::CCDChip* chip) {
  INDI::CCD::addFITSKeywords(chip);
  fitsfile* const file = *chip->fitsFilePointer();
  const FrameInfo& info = image_->frame.info();
  int status = 0;
  const auto text = [&](const char* key, const std::string& value, const char* comment) {
    fits_update_key_str(file, key, value.c_str(), comment, &status);
  };
  const auto number = [&](const char* key, double value, int decimals, const char* comment) {
    fits_update_key_fixdbl(file, key, value, decimals, comment, &status);
  };
  const auto integer = [&](const char* key, int value, const char* comment) {
    fits_update_key_lng(file, key, value, comment, &status);
  };
  text("INSTRUME", opened_.info.name, "Model of the camera");
  text("ROWORDER", "TOP-DOWN", "Order of the rows");
  text("DATE-OBS", timeText(info.start()), "UTC, start of the exposure");
  number("EXPTIME", static_cast<double>(info.exposureUs) / 1e6, 6, "Exposure time, s");
  integer("GAIN", info.gain, "Gain, steps of the sensor");
  integer("OFFSET", info.blackLevel, "Black level, steps of the sensor");
  if (const auto celsius = info.celsius()) {
    number("CCD-TEMP", *celsius, 1, "Sensor temperature, degrees C");
  }
  if (HasCooler() && coolerSwitch_[0].getState() == ISS_ON) {
    number("SET-TEMP", m_TargetTemperature, 1, "Target of the cooler, degrees C");
  }
  text("SWCREATE", std::string("Orvik ") + OrvikGetVersion() + " INDI", "Software");
  if (!imageMosaic(opened_.info, info)) {
    for (const char* key : {"XBAYROFF", "YBAYROFF", "BAYERPAT"}) {
      fits_delete_key(file, key, &status);
      status = 0;
    }
  }
}

}  // namespace orvik::indi
