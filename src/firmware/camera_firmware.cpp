// SPDX-License-Identifier: MIT
#include "firmware/camera_firmware.h"

#include "firmware/bridge_memory.h"
#include "firmware/camera_id.h"
#include "firmware/firmware_image.h"

namespace orvik::firmware {

FX3_FWDWNLOAD_ERROR_CODE loadFirmware(Camera& camera, std::span<const std::uint8_t> file) {
  const auto permit = camera.beginMemoryWork();
  if (!permit || !camera.isOpen()) return FWDWNLOAD_FAILED;
  VendorLink& link = camera.link();
  const auto lock = link.lockFlash();  // starting a program would interrupt work on the flash
  if (camera.model().usb3) {
    Image program;
    const FX3_FWDWNLOAD_ERROR_CODE checked = parseImage(file, program);
    return checked == FWDWNLOAD_SUCCESS ? startImage(link, camera.clock(), program) : checked;
  }
  const auto records = parseRecords(file);
  return records ? startRecords(link, camera.clock(), *records) : FWDWNLOAD_NO_SIGNATURE;
}

bool readCameraId(Camera& camera, Orvik_ID& id) {
  const auto permit = camera.beginMemoryWork();
  SpiFlash port = camera.flash();
  return permit && readId(port, id);
}

bool writeCameraId(Camera& camera, const Orvik_ID& id) {
  const auto permit = camera.beginMemoryWork();
  SpiFlash port = camera.flash();
  return permit && writeId(port, id);
}

}  // namespace orvik::firmware
