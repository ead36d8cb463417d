// SPDX-License-Identifier: MIT
// The flat functions for cameras by their identity.
#include "orvik/orvik_devices.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <span>

#include "api/device_changes.h"
#include "api/guard.h"
#include "models/catalogue.h"
#include "seam/location_text.h"

using orvik::ConnectedDevice;
using orvik::DeviceChanges;
using orvik::OpenCamera;
using orvik::Registry;
using orvik::api::guarded;
using orvik::api::withCamera;

namespace {

template <std::size_t kSize>
void copyText(char (&field)[kSize], const std::string& text) {
  std::snprintf(field, kSize, "%s", text.c_str());
}

Orvik_DEVICE describe(const ConnectedDevice& connected, std::span<const ConnectedDevice> all) {
  const std::string& serial = connected.serialNumber;
  const std::string port = orvik::seam::portText(connected.device.location);
  const auto count = std::ranges::count(all, serial, &ConnectedDevice::serialNumber);
  Orvik_DEVICE record{};
  copyText(record.name, orvik::productName(connected.device.productId));
  copyText(record.serial, serial);
  copyText(record.port, port);
  const bool tellsApart = !serial.empty() && count == 1 && serial.size() < sizeof record.serial;
  copyText(record.identity, tellsApart ? serial : port);
  record.vendorId = connected.device.vendorId;
  record.productId = connected.device.productId;
  record.isOpen = connected.handle != 0 ? Orvik_TRUE : Orvik_FALSE;
  record.handle = connected.handle;
  return record;
}

}  // namespace

Orvik_ERROR_CODE OrvikListDevices(Orvik_DEVICE* devices, int capacity, int* count) {
  if (count == nullptr || capacity < 0 || (devices == nullptr && capacity > 0)) {
    return Orvik_ERROR_ARGUMENT;
  }
  return guarded(Orvik_ERROR_DRIVER_FAILED, [&] {
    const std::vector<ConnectedDevice> all = Registry::instance().connected();
    const std::size_t shown = std::min(all.size(), static_cast<std::size_t>(capacity));
    std::ranges::transform(std::span(all).first(shown), devices,
                           [&](const ConnectedDevice& each) { return describe(each, all); });
    *count = static_cast<int>(all.size());
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikOpenDevice(const char* identity, int* handle) {
  if (identity == nullptr || *identity == '\0' || handle == nullptr) return Orvik_ERROR_ARGUMENT;
  return guarded(Orvik_ERROR_OPEN_FAILED,
                 [&] { return Registry::instance().openDevice(identity, *handle); });
}

Orvik_ERROR_CODE OrvikGetHandle(int index, int* handle) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](const OpenCamera& camera) {
    if (handle == nullptr) return Orvik_ERROR_ARGUMENT;
    *handle = camera.handle;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikWaitForDeviceChange(std::int32_t* changes, int timeoutMs) {
  if (changes == nullptr || timeoutMs < 0) return Orvik_ERROR_ARGUMENT;
  return guarded(Orvik_ERROR_DRIVER_FAILED, [&] {
    return DeviceChanges::instance().wait(*changes, std::chrono::milliseconds(timeoutMs));
  });
}
