// SPDX-License-Identifier: MIT
// The service functions for firmware and flash.
#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "api/guard.h"
#include "firmware/camera_firmware.h"
#include "firmware/firmware_file.h"
#include "firmware/firmware_image.h"
#include "firmware/flash_image.h"
#include "link/camera_versions.h"
#include "orvik/orvik_service.h"

using orvik::Camera;
using orvik::FlashPort;
using orvik::OpenCamera;
using orvik::api::captureCode;
using orvik::api::guarded;
using orvik::api::withCamera;

namespace firmware = orvik::firmware;

namespace {

using Bytes = std::vector<std::uint8_t>;

Orvik_ERROR_CODE codeOf(orvik::FX3_FWDWNLOAD_ERROR_CODE result) {
  switch (result) {
    case orvik::FWDWNLOAD_SUCCESS:
      return Orvik_OK;
    case orvik::FWDWNLOAD_NO_SIGNATURE:
    case orvik::FWDWNLOAD_SECTION_OVERRUN:
    case orvik::FWDWNLOAD_CHUNK_OVERRUN:
    case orvik::FWDWNLOAD_NO_EEPROM_SIZE:
      return Orvik_ERROR_FIRMWARE_IMAGE;
    case orvik::FWDWNLOAD_NO_FILE:
      return Orvik_ERROR_FILE;
    case orvik::FWDWNLOAD_ERASE_FAILED:
      return Orvik_ERROR_FLASH_ERASE;
    case orvik::FWDWNLOAD_FAILED:
    case orvik::FWDWNLOAD_UNKNOWN_MEDIA:
      break;
  }
  return Orvik_ERROR_DRIVER_FAILED;
}

firmware::FlashProgress teller(Orvik_PROGRESS progress, void* context) {
  if (progress == nullptr) return {};
  return [=](firmware::FlashStep step, std::size_t done, std::size_t total) {
    constexpr std::array kSteps = {Orvik_STEP_ERASE, Orvik_STEP_WRITE, Orvik_STEP_READ};
    progress(context, kSteps.at(static_cast<std::size_t>(step)), static_cast<std::int32_t>(done),
             static_cast<std::int32_t>(total));
  };
}

Orvik_FIRMWARE_FILE describeSections(const firmware::Image& image, std::size_t fileBytes) {
  Orvik_FIRMWARE_FILE file{};
  file.format = Orvik_FIRMWARE_SECTIONS;
  file.fileBytes = static_cast<std::int32_t>(fileBytes);
  file.parts = static_cast<std::int32_t>(image.sections.size());
  for (const firmware::Section& section : image.sections) {
    file.dataBytes += static_cast<std::int32_t>(section.data.size());
  }
  file.entry = image.entry;
  file.fitsFlash = fileBytes <= firmware::kFirmwareAreaBytes ? Orvik_TRUE : Orvik_FALSE;
  return file;
}

Orvik_FIRMWARE_FILE describeRecords(const std::vector<firmware::Record>& records,
                                    std::size_t fileBytes) {
  Orvik_FIRMWARE_FILE file{};
  file.format = Orvik_FIRMWARE_RECORDS;
  file.fileBytes = static_cast<std::int32_t>(fileBytes);
  file.parts = static_cast<std::int32_t>(records.size());
  for (const firmware::Record& record : records) {
    file.dataBytes += static_cast<std::int32_t>(record.data.size());
  }
  return file;
}

/// @param[out] bytes of the file; changed on success only, as is `file`
Orvik_ERROR_CODE readFile(const char* path, Bytes& bytes, Orvik_FIRMWARE_FILE& file) {
  auto read = firmware::readFirmwareFile(path);
  if (!read) return Orvik_ERROR_FILE;
  firmware::Image image;
  if (firmware::parseImage(*read, image) == orvik::FWDWNLOAD_SUCCESS) {
    file = describeSections(image, read->size());
  } else if (const auto records = firmware::parseRecords(*read)) {
    file = describeRecords(*records, read->size());
  } else {
    return Orvik_ERROR_FIRMWARE_IMAGE;
  }
  bytes = std::move(*read);
  return Orvik_OK;
}

/// Reads a file that must contain firmware for the USB bridge of this camera.
/// @param[out] bytes changed on success only
Orvik_ERROR_CODE readFileFor(const Camera& driver, const char* path, Bytes& bytes,
                             Orvik_FIRMWARE_FILE& file) {
  Bytes read;
  const Orvik_ERROR_CODE code = readFile(path, read, file);
  if (code != Orvik_OK) return code;
  const auto wanted = driver.model().usb3 ? Orvik_FIRMWARE_SECTIONS : Orvik_FIRMWARE_RECORDS;
  if (file.format != wanted) return Orvik_ERROR_FIRMWARE_IMAGE;
  bytes = std::move(read);
  return Orvik_OK;
}

Orvik_ERROR_CODE verify(FlashPort& flash, const Bytes& image,
                        const firmware::FlashProgress& progress) {
  bool same = false;
  if (!firmware::compareFlashImage(flash, image, same, progress)) return Orvik_ERROR_DRIVER_FAILED;
  return same ? Orvik_OK : Orvik_ERROR_VERIFY;
}

/// Calls `work(flash)` with the bus of the flash taken, while no capture can start and the camera
/// cannot be closed.
template <class Work>
Orvik_ERROR_CODE withFlash(Camera& driver, Work work) {
  const auto permit = driver.beginMemoryWork();
  if (!permit) return Orvik_ERROR_DRIVER_FAILED;
  orvik::SpiFlash flash = driver.flash();
  const orvik::FlashSession session(flash);
  return session.hasBus() ? work(flash) : Orvik_ERROR_DRIVER_FAILED;
}

/// The same for `work(flash, image)`, with the firmware of a file.
template <class Work>
Orvik_ERROR_CODE withFlashImage(int index, const char* path, Work work) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (path == nullptr) return Orvik_ERROR_ARGUMENT;
    const Orvik_ERROR_CODE busy = captureCode(camera.driver->capture());
    if (busy != Orvik_OK) return busy;
    Bytes image;
    Orvik_FIRMWARE_FILE file{};
    const Orvik_ERROR_CODE code = readFileFor(*camera.driver, path, image, file);
    if (code != Orvik_OK) return code;
    if (file.fitsFlash != Orvik_TRUE) return Orvik_ERROR_FIRMWARE_IMAGE;
    return withFlash(*camera.driver, [&](FlashPort& flash) { return work(flash, image); });
  });
}

}  // namespace

Orvik_ERROR_CODE OrvikGetFirmwareVersion(int index, Orvik_FIRMWARE_VERSION* version) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (version == nullptr) return Orvik_ERROR_ARGUMENT;
    std::uint8_t bridge = 0;
    orvik::FpgaVersion fpga;
    orvik::VendorLink& link = camera.driver->link();
    if (!orvik::readFirmwareVersion(link, bridge) || !orvik::readFpgaVersion(link, fpga)) {
      return Orvik_ERROR_DRIVER_FAILED;
    }
    version->firmware = bridge;
    version->fpgaMajor = fpga.major;
    version->fpgaMinor = fpga.digits;
    return Orvik_OK;
  });
}

Orvik_ERROR_CODE OrvikCheckFirmwareFile(const char* path, Orvik_FIRMWARE_FILE* file) {
  if (path == nullptr || file == nullptr) return Orvik_ERROR_ARGUMENT;
  return guarded(Orvik_ERROR_FILE, [&] {
    Bytes bytes;
    return readFile(path, bytes, *file);
  });
}

Orvik_ERROR_CODE OrvikLoadFirmware(int index, const char* path) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (path == nullptr) return Orvik_ERROR_ARGUMENT;
    const Orvik_ERROR_CODE busy = captureCode(camera.driver->capture());
    if (busy != Orvik_OK) return busy;
    Bytes bytes;
    Orvik_FIRMWARE_FILE file{};
    const Orvik_ERROR_CODE code = readFileFor(*camera.driver, path, bytes, file);
    return code == Orvik_OK ? codeOf(firmware::loadFirmware(*camera.driver, bytes)) : code;
  });
}

Orvik_ERROR_CODE OrvikFlashFirmware(int index, const char* path, Orvik_PROGRESS progress,
                                    void* context) {
  return withFlashImage(index, path, [&](FlashPort& flash, const Bytes& image) {
    bool same = false;
    const Orvik_ERROR_CODE written =
        codeOf(firmware::writeVerifiedFlashImage(flash, image, same, teller(progress, context)));
    if (written != Orvik_OK) return written;
    return same ? Orvik_OK : Orvik_ERROR_VERIFY;
  });
}

Orvik_ERROR_CODE OrvikVerifyFirmware(int index, const char* path, Orvik_PROGRESS progress,
                                     void* context) {
  return withFlashImage(index, path, [&](FlashPort& flash, const Bytes& image) {
    return verify(flash, image, teller(progress, context));
  });
}

Orvik_ERROR_CODE OrvikReadFlash(int index, std::uint32_t address, unsigned char* buffer,
                                std::int32_t size, Orvik_PROGRESS progress, void* context) {
  return withCamera(index, Orvik_ERROR_DRIVER_FAILED, [&](OpenCamera& camera) {
    if (buffer == nullptr || size < 1 || address % FlashPort::kPageBytes != 0 ||
        address >= FlashPort::kMaxBytes ||
        static_cast<std::uint32_t>(size) > FlashPort::kMaxBytes - address) {
      return Orvik_ERROR_ARGUMENT;
    }
    const Orvik_ERROR_CODE busy = captureCode(camera.driver->capture());
    if (busy != Orvik_OK) return busy;
    return withFlash(*camera.driver, [&](FlashPort& flash) {
      const std::span<std::uint8_t> bytes(buffer, static_cast<std::size_t>(size));
      return firmware::readFlash(flash, address, bytes, teller(progress, context))
                 ? Orvik_OK
                 : Orvik_ERROR_DRIVER_FAILED;
    });
  });
}
