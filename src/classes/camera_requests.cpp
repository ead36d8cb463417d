// SPDX-License-Identifier: MIT
// The vendor requests of CCameraBase.
#include <array>
#include <cstddef>
#include <limits>
#include <span>

#include "classes/camera_impl.h"
#include "link/camera_versions.h"
#include "orvik/camera_base.h"

namespace orvik {

using classes::onCamera;
using classes::put;
using classes::withCamera;

namespace {

/// Stores the FPGA's version in the form of the class interface: a number and four digits.
void store(const FpgaVersion& version, std::uint8_t* major, std::uint8_t* digits) {
  put(major, version.major);
  if (digits == nullptr) return;
  for (int n = 0; n < 4; ++n) {
    digits[n] = static_cast<std::uint8_t>(version.digits >> (4 * (3 - n)) & 0x0F);
  }
}

}  // namespace

bool CCameraBase::SendCMD(std::uint8_t command) noexcept {
  return onCamera(impl(), false,
                  [&](const Camera& camera) { return camera.link().send(VendorRequest{command}); });
}

bool CCameraBase::SendCMD(std::uint8_t command, std::uint16_t value, std::uint16_t index, bool read,
                          std::uint8_t* buffer, std::int32_t length) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    constexpr std::int32_t kLargest = std::numeric_limits<std::uint16_t>::max();
    if ((length > 0 && buffer == nullptr) || length > kLargest) return false;
    const std::span data = classes::memory(buffer, length);
    const VendorRequest request{command};
    return read ? camera.link().receive(request, value, index, data)
                : camera.link().send(request, value, index, data);
  });
}

bool CCameraBase::WriteCameraRegister(std::uint16_t address, std::uint16_t value) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    return camera.link().writeSensorWord(address, value);
  });
}

bool CCameraBase::WriteCameraRegisterByte(std::uint16_t address, std::uint8_t value) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    return camera.link().writeSensorByte(address, value);
  });
}

bool CCameraBase::ReadCameraRegister(std::uint16_t address, std::uint16_t* value) noexcept {
  put(value, 0);
  return onCamera(impl(), false, [&](const Camera& camera) {
    return value != nullptr && camera.link().readSensorWord(address, *value);
  });
}

bool CCameraBase::ReadCameraRegisterByte(std::uint16_t address, std::uint8_t* value) noexcept {
  put(value, 0);
  return onCamera(impl(), false, [&](const Camera& camera) {
    return value != nullptr && camera.link().readSensorByte(address, *value);
  });
}

bool CCameraBase::WriteSONYREG(std::uint16_t address, std::uint8_t value) noexcept {
  return WriteCameraRegisterByte(address, value);
}

bool CCameraBase::ReadSONYREG(std::uint16_t address, std::uint8_t* value) noexcept {
  return ReadCameraRegisterByte(address, value);
}

bool CCameraBase::WriteFPGAREG(std::uint16_t address, std::uint16_t value) noexcept {
  return onCamera(impl(), false,
                  [&](const Camera& camera) { return camera.link().writeFpga(address, value); });
}

bool CCameraBase::ReadFPGAREG(std::uint16_t address, std::uint8_t* value) noexcept {
  put(value, 0);
  return onCamera(impl(), false, [&](const Camera& camera) {
    return value != nullptr && camera.link().readFpga(address, *value);
  });
}

bool CCameraBase::EnableGPIF32DQ(bool enable) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    return camera.link().send(VendorRequest::kSwitchBus, enable ? 1 : 0);
  });
}

bool CCameraBase::StartUSBStreaming() noexcept {
  return onCamera(impl(), false, [](const Camera& camera) {
    return camera.link().send(VendorRequest::kStartStreaming);
  });
}

bool CCameraBase::StopUSBStreaming() noexcept {
  return onCamera(impl(), false, [](const Camera& camera) {
    return camera.link().send(VendorRequest::kStopStreaming);
  });
}

bool CCameraBase::StartSensorCLK() noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.link().startSensorClock(); });
}

bool CCameraBase::StopSensorCLK() noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.link().stopSensorClock(); });
}

bool CCameraBase::GetFirmwareVer(std::uint8_t* version) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    return version != nullptr && readFirmwareVersion(camera.link(), *version);
  });
}

bool CCameraBase::GetFPGAVer(std::uint8_t* major, std::uint8_t* digits) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    FpgaVersion version;
    const bool told = readFpgaVersion(camera.link(), version);
    store(version, major, digits);
    return told;
  });
}

void CCameraBase::GetFPGAVerVal(std::uint8_t* major, std::uint8_t* digits) const noexcept {
  withCamera(impl(),
             [&](const Camera& camera) { store(camera.state().fpgaVersion, major, digits); });
}

bool CCameraBase::IsUSB3Host() noexcept {
  return onCamera(impl(), false, [](const Camera& camera) { return isAtUsb3Port(camera.link()); });
}

bool CCameraBase::ResetEndPoint(std::uint8_t) noexcept {
  return onCamera(impl(), false,
                  [](const Camera& camera) { return camera.link().resetBulkPipe(); });
}

bool CCameraBase::ResetDevice() noexcept {
  return onCamera(impl(), false, [](const Camera& camera) {
    return camera.isOpen() && camera.link().device().resetDevice();
  });
}

}  // namespace orvik
