// SPDX-License-Identifier: MIT
// The firmware, flash and identity members of CCameraBase, by their names in the class interface.
// They are declared with the class and defined here: so the camera's room knows nothing of
// firmware, and every model has them all the same.
#include <new>
#include <span>

#include "camera/camera_base.h"
#include "firmware/boot_eeprom.h"
#include "firmware/bridge_memory.h"
#include "firmware/camera_id.h"
#include "firmware/firmware_file.h"
#include "firmware/firmware_image.h"
#include "firmware/flash_image.h"

namespace orvik {
namespace {

using Bytes = std::span<const std::uint8_t>;

/// A caller's memory; none where there is no pointer.
template <class Byte>
std::span<Byte> memory(Byte* start, std::size_t size) {
  return start == nullptr ? std::span<Byte>() : std::span<Byte>(start, size);
}

Bytes image(const std::uint8_t* start, std::int32_t size) {
  return memory(start, size > 0 ? static_cast<std::size_t>(size) : 0);
}

}  // namespace

bool CCameraBase::IsBootLoaderRunning() {
  std::array<std::uint8_t, 1> answer{};
  return firmware::readMemory(link(), 0, answer, codeOf(VendorRequest::kBridgeMemory));
}

bool CCameraBase::DownloadBufferToDevice(std::uint32_t address, std::uint16_t length,
                                         const std::uint8_t* buffer, std::uint8_t request) {
  if (buffer == nullptr && length != 0) return false;
  return firmware::writeMemory(link(), address, memory(buffer, length), request);
}

bool CCameraBase::UploadBufferFromDevice(std::uint32_t address, std::uint16_t length,
                                         std::uint8_t* buffer, std::uint8_t request) {
  if (buffer == nullptr && length != 0) return false;
  return firmware::readMemory(link(), address, memory(buffer, length), request);
}

bool CCameraBase::SetProgramEntry(std::uint8_t request, std::uint32_t address) {
  return firmware::setProgramEntry(link(), address, request);
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::EraseSectorOfSPIFlash(std::uint32_t sector,
                                                            std::uint8_t request) {
  SpiFlash port = flash({.sector = request, .eraseAttempts = 1});
  return port.eraseSector(sector) ? FWDWNLOAD_SUCCESS : FWDWNLOAD_FAILED;
}

bool CCameraBase::WriteToSPIFlash(const std::uint8_t* buffer, std::uint32_t length,
                                  std::uint32_t address, std::uint8_t request) {
  if (buffer == nullptr && length != 0) return false;
  return flash({.write = request}).write(address, memory(buffer, length));
}

bool CCameraBase::ReadFromSPIFlash(std::uint8_t* buffer, std::uint32_t length,
                                   std::uint32_t address, std::uint8_t request) {
  if (buffer == nullptr && length != 0) return false;
  return flash({.read = request}).read(address, memory(buffer, length));
}

bool CCameraBase::SetTransferCount(std::int32_t bytes) {
  constexpr std::int64_t kTransferBytes = 49152;
  if (bytes < 0) return false;
  const std::int64_t count = (bytes + kTransferBytes - 1) / kTransferBytes;
  return link().send(codeOf(VendorRequest::kTransferCount), static_cast<std::uint16_t>(count >> 16),
                     static_cast<std::uint16_t>(count));
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::DownloadFw(const char* path,
                                                 FX3_FWDWNLOAD_MEDIA_TYPE media) try {
  if (!isOpen()) return FWDWNLOAD_FAILED;
  const auto file = firmware::readFirmwareFile(path);
  if (!file) return FWDWNLOAD_NO_FILE;
  if (media < FWDWNLOAD_RAM || media > FWDWNLOAD_SPIFLASH) return FWDWNLOAD_UNKNOWN_MEDIA;

  // A file that is no firmware must not take the place of the one that the camera boots from.
  firmware::Image parsed;
  const FX3_FWDWNLOAD_ERROR_CODE checked = firmware::parseImage(*file, parsed);
  if (checked != FWDWNLOAD_SUCCESS) return checked;
  const auto size = static_cast<std::uint32_t>(file->size());
  switch (media) {
    case FWDWNLOAD_RAM:
      return DownloadFwToRam(file->data(), size, codeOf(VendorRequest::kBridgeMemory));
    case FWDWNLOAD_I2CE2PROM:
      return DownloadBuftoI2CE2PROM(file->data(), size, codeOf(VendorRequest::kI2cMemory));
    case FWDWNLOAD_SPIFLASH: {
      if (file->size() > firmware::kFirmwareAreaBytes) return FWDWNLOAD_NO_FILE;
      const auto permit = beginMemoryWork();
      if (!permit) return FWDWNLOAD_FAILED;
      SpiFlash port = flash();
      const FlashSession session(port);
      return session.hasBus() ? firmware::writeFlashImage(port, *file) : FWDWNLOAD_FAILED;
    }
  }
  return FWDWNLOAD_UNKNOWN_MEDIA;
} catch (const std::bad_alloc&) {
  return FWDWNLOAD_NO_FILE;
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::DownloadFwToRam(const std::uint8_t* start, std::uint32_t size,
                                                      std::uint8_t request) {
  if (!isOpen()) return FWDWNLOAD_FAILED;
  firmware::Image parsed;
  const FX3_FWDWNLOAD_ERROR_CODE checked = firmware::parseImage(memory(start, size), parsed);
  if (checked != FWDWNLOAD_SUCCESS) return checked;
  const auto permit = beginMemoryWork();
  if (!permit) return FWDWNLOAD_FAILED;
  const FX3_FWDWNLOAD_ERROR_CODE loaded = firmware::loadImage(link(), parsed, request);
  if (loaded == FWDWNLOAD_SUCCESS) firmware::jumpTo(link(), parsed.entry, request);
  return loaded;
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::DownloadBuftoI2CE2PROM(const std::uint8_t* start,
                                                             std::uint32_t size,
                                                             std::uint8_t request) {
  const auto permit = beginMemoryWork();
  if (!permit) return FWDWNLOAD_FAILED;
  return firmware::writeI2cImage(link(), memory(start, size), request);
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::DownloadBuftoSPIFLASH(const std::uint8_t* start,
                                                            std::uint32_t size,
                                                            std::uint8_t request) {
  if (start == nullptr) return FWDWNLOAD_NO_FILE;
  if (!isOpen()) return FWDWNLOAD_FAILED;
  const auto permit = beginMemoryWork();
  if (!permit) return FWDWNLOAD_FAILED;
  SpiFlash port = flash({.sector = request});
  return firmware::writeFlashImage(port, memory(start, size));
}

bool CCameraBase::UpdateFW2RAM(const std::uint8_t* start, std::int32_t size) {
  if (!isOpen()) return false;
  const auto records = firmware::parseRecords(image(start, size));
  const auto permit = beginMemoryWork();
  if (!records || !permit) return false;
  firmware::runRecords(link(), *records);
  return true;
}

bool CCameraBase::UpdateFW(const std::uint8_t* start, std::int32_t size) {
  const Bytes bytes = image(start, size);
  if (!isOpen() || bytes.size() > firmware::kMaxEepromBytes) return false;
  const auto records = firmware::parseRecords(bytes);
  const auto permit = beginMemoryWork();
  if (!records || !permit) return false;
  const bool written = firmware::writeThroughHelper(link(), bytes);
  // Also after a failure: the camera is of use until it loses power, and can be written again.
  firmware::runRecords(link(), *records);
  return written;
}

bool CCameraBase::EraseFlash() {
  const auto permit = beginMemoryWork();
  return permit && isOpen() && firmware::eraseThroughHelper(link());
}

FX3_FWDWNLOAD_ERROR_CODE CCameraBase::loadFirmware(std::span<const std::uint8_t> file) {
  const auto permit = beginMemoryWork();
  if (!permit || !isOpen()) return FWDWNLOAD_FAILED;
  const auto lock = link().lockFlash();  // a program that starts would break off work on the flash
  if (model_.usb3) {
    firmware::Image program;
    const FX3_FWDWNLOAD_ERROR_CODE checked = firmware::parseImage(file, program);
    return checked == FWDWNLOAD_SUCCESS ? firmware::startImage(link(), clock(), program) : checked;
  }
  const auto records = firmware::parseRecords(file);
  return records ? firmware::startRecords(link(), clock(), *records) : FWDWNLOAD_NO_SIGNATURE;
}

bool CCameraBase::ReadIDFromSPI(Orvik_ID* id) {
  const auto permit = beginMemoryWork();
  SpiFlash port = flash();
  return permit && id != nullptr && firmware::readId(port, *id);
}

bool CCameraBase::WriteIDToSPI(Orvik_ID id) {
  const auto permit = beginMemoryWork();
  SpiFlash port = flash();
  return permit && firmware::writeId(port, id);
}

}  // namespace orvik
