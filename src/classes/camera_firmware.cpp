// SPDX-License-Identifier: MIT
// The firmware, flash and identity members of CCameraBase. A member that sends several requests
// needs the camera's permission, and does not start while the device is closed.
#include "firmware/camera_firmware.h"

#include <span>

#include "classes/camera_impl.h"
#include "firmware/boot_eeprom.h"
#include "firmware/bridge_memory.h"
#include "firmware/firmware_file.h"
#include "firmware/firmware_image.h"
#include "firmware/flash_image.h"
#include "orvik/camera_base.h"

namespace orvik {

using classes::memory;
using classes::onCamera;

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Whether a caller's memory is missing.
bool lacks(const void* start, std::uint32_t length) { return start == nullptr && length != 0; }

FX3_FWDWNLOAD_ERROR_CODE loadToRam(Camera& camera, Bytes image, VendorRequest request) {
  if (!camera.isOpen()) return FWDWNLOAD_FAILED;
  firmware::Image parsed;
  const FX3_FWDWNLOAD_ERROR_CODE checked = firmware::parseImage(image, parsed);
  if (checked != FWDWNLOAD_SUCCESS) return checked;
  const auto permit = camera.beginMemoryWork();
  if (!permit) return FWDWNLOAD_FAILED;
  const FX3_FWDWNLOAD_ERROR_CODE loaded = firmware::loadImage(camera.link(), parsed, request);
  if (loaded == FWDWNLOAD_SUCCESS) firmware::jumpTo(camera.link(), parsed.entry, request);
  return loaded;
}

FX3_FWDWNLOAD_ERROR_CODE writeToEeprom(Camera& camera, Bytes image, VendorRequest request) {
  const auto permit = camera.beginMemoryWork();
  if (!permit) return FWDWNLOAD_FAILED;
  return firmware::writeI2cImage(camera.link(), image, request);
}

/// Takes the bus of the flash and releases it again.
FX3_FWDWNLOAD_ERROR_CODE writeToFlash(Camera& camera, Bytes image) {
  if (image.size() > firmware::kFirmwareAreaBytes) return FWDWNLOAD_NO_FILE;
  const auto permit = camera.beginMemoryWork();
  if (!permit) return FWDWNLOAD_FAILED;
  SpiFlash port = camera.flash();
  const FlashSession session(port);
  return session.hasBus() ? firmware::writeFlashImage(port, image) : FWDWNLOAD_FAILED;
}

FX3_FWDWNLOAD_ERROR_CODE download(Camera& camera, const char* path,
                                  FX3_FWDWNLOAD_MEDIA_TYPE media) {
  if (!camera.isOpen()) return FWDWNLOAD_FAILED;
  const auto file = firmware::readFirmwareFile(path);
  if (!file) return FWDWNLOAD_NO_FILE;
  if (media < FWDWNLOAD_RAM || media > FWDWNLOAD_SPIFLASH) return FWDWNLOAD_UNKNOWN_MEDIA;

  // A file that is not firmware must not replace the firmware that the camera boots from.
  firmware::Image parsed;
  const FX3_FWDWNLOAD_ERROR_CODE checked = firmware::parseImage(*file, parsed);
  if (checked != FWDWNLOAD_SUCCESS) return checked;
  switch (media) {
    case FWDWNLOAD_RAM:
      return loadToRam(camera, *file, VendorRequest::kBridgeMemory);
    case FWDWNLOAD_I2CE2PROM:
      return writeToEeprom(camera, *file, VendorRequest::kI2cMemory);
    case FWDWNLOAD_SPIFLASH:
      return writeToFlash(camera, *file);
  }
  return FWDWNLOAD_UNKNOWN_MEDIA;
}

}  // namespace

bool CCameraBase::IsBootLoaderRunning() noexcept {
  return onCamera(impl(), false, [](const Camera& camera) {
    std::array<std::uint8_t, 1> answer{};
    return firmware::readMemory(camera.link(), 0, answer, VendorRequest::kBridgeMemory);
  });
}

bool CCameraBase::DownloadBufferToDevice(std::uint32_t address, std::uint16_t length,
                                         const std::uint8_t* buffer,
                                         std::uint8_t request) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    return !lacks(buffer, length) &&
           firmware::writeMemory(camera.link(), address, memory(buffer, length),
                                 VendorRequest{request});
  });
}

bool CCameraBase::UploadBufferFromDevice(std::uint32_t address, std::uint16_t length,
                                         std::uint8_t* buffer, std::uint8_t request) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    return !lacks(buffer, length) &&
           firmware::readMemory(camera.link(), address, memory(buffer, length),
                                VendorRequest{request});
  });
}

bool CCameraBase::SetProgramEntry(std::uint8_t request, std::uint32_t address) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    return firmware::setProgramEntry(camera.link(), address, VendorRequest{request});
  });
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::EraseSectorOfSPIFlash(std::uint32_t sector,
                                                            std::uint8_t request) noexcept {
  return onCamera(impl(), FWDWNLOAD_FAILED, [&](Camera& camera) {
    SpiFlash port = camera.flash({.sector = VendorRequest{request}, .eraseAttempts = 1});
    return port.eraseSector(sector) ? FWDWNLOAD_SUCCESS : FWDWNLOAD_FAILED;
  });
}

bool CCameraBase::WriteToSPIFlash(const std::uint8_t* buffer, std::uint32_t length,
                                  std::uint32_t address, std::uint8_t request) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    return !lacks(buffer, length) &&
           camera.flash({.write = VendorRequest{request}}).write(address, memory(buffer, length));
  });
}

bool CCameraBase::ReadFromSPIFlash(std::uint8_t* buffer, std::uint32_t length,
                                   std::uint32_t address, std::uint8_t request) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    return !lacks(buffer, length) &&
           camera.flash({.read = VendorRequest{request}}).read(address, memory(buffer, length));
  });
}

bool CCameraBase::SetTransferCount(std::int32_t bytes) noexcept {
  return onCamera(impl(), false, [&](const Camera& camera) {
    constexpr std::int64_t kTransferBytes = 49152;
    if (bytes < 0) return false;
    const std::int64_t count = (bytes + kTransferBytes - 1) / kTransferBytes;
    return camera.link().send(VendorRequest::kTransferCount,
                              static_cast<std::uint16_t>(count >> 16),
                              static_cast<std::uint16_t>(count));
  });
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::DownloadFw(const char* path,
                                                 FX3_FWDWNLOAD_MEDIA_TYPE media) noexcept {
  if (impl() == nullptr) return FWDWNLOAD_FAILED;
  return onCamera(impl(), FWDWNLOAD_NO_FILE,  // also if there is no memory for the file
                  [&](Camera& camera) { return download(camera, path, media); });
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::DownloadFwToRam(const std::uint8_t* start, std::uint32_t size,
                                                      std::uint8_t request) noexcept {
  return onCamera(impl(), FWDWNLOAD_FAILED, [&](Camera& camera) {
    return loadToRam(camera, memory(start, size), VendorRequest{request});
  });
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::DownloadBuftoI2CE2PROM(const std::uint8_t* start,
                                                             std::uint32_t size,
                                                             std::uint8_t request) noexcept {
  return onCamera(impl(), FWDWNLOAD_FAILED, [&](Camera& camera) {
    return writeToEeprom(camera, memory(start, size), VendorRequest{request});
  });
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::DownloadBuftoSPIFLASH(const std::uint8_t* start,
                                                            std::uint32_t size,
                                                            std::uint8_t request) noexcept {
  return onCamera(impl(), FWDWNLOAD_FAILED, [&](Camera& camera) {
    if (start == nullptr) return FWDWNLOAD_NO_FILE;
    const auto permit = camera.beginMemoryWork();
    if (!permit || !camera.isOpen()) return FWDWNLOAD_FAILED;
    SpiFlash port = camera.flash({.sector = VendorRequest{request}});
    return firmware::writeFlashImage(port, memory(start, size));
  });
}

bool CCameraBase::UpdateFW2RAM(const std::uint8_t* start, std::int32_t size) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    const auto records = firmware::parseRecords(memory(start, size));
    const auto permit = camera.beginMemoryWork();
    if (!camera.isOpen() || !records || !permit) return false;
    firmware::runRecords(camera.link(), *records);
    return true;
  });
}

bool CCameraBase::UpdateFW(const std::uint8_t* start, std::int32_t size) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    const Bytes bytes = memory(start, size);
    if (bytes.size() > firmware::kMaxEepromBytes) return false;
    const auto records = firmware::parseRecords(bytes);
    const auto permit = camera.beginMemoryWork();
    if (!camera.isOpen() || !records || !permit) return false;
    const bool written = firmware::writeThroughHelper(camera.link(), bytes);
    // Also after a failure: the camera works until it loses power, and can be written again.
    firmware::runRecords(camera.link(), *records);
    return written;
  });
}

bool CCameraBase::EraseFlash() noexcept {
  return onCamera(impl(), false, [](Camera& camera) {
    const auto permit = camera.beginMemoryWork();
    return permit && camera.isOpen() && firmware::eraseThroughHelper(camera.link());
  });
}

bool CCameraBase::ReadIDFromSPI(Orvik_ID* id) noexcept {
  return onCamera(impl(), false, [&](Camera& camera) {
    return id != nullptr && firmware::readCameraId(camera, *id);
  });
}

bool CCameraBase::WriteIDToSPI(Orvik_ID id) noexcept {
  return onCamera(impl(), false,
                  [&](Camera& camera) { return firmware::writeCameraId(camera, id); });
}

}  // namespace orvik
