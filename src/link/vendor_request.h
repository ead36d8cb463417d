// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik {

/// The vendor requests of the cameras.
enum class VendorRequest : std::uint8_t {
  kBridgeMemory = 0xA0,
  kSensorClock24MHz = 0xA3,
  kSensorClock48MHz = 0xA4,
  kWriteSensorWord = 0xA6,
  kReadSensorWord = 0xA7,
  kStartStreaming = 0xA9,
  kHelperBlock = 0xA9,  ///< to the helper program for the boot EEPROM of the USB 2 bridge
  kStopStreaming = 0xAA,
  kOutput8Bits = 0xAB,
  kOutput16Bits = 0xAC,
  kFirmwareVersion = 0xAD,
  kStopSensorClock = 0xAE,
  kStartSensorClock = 0xAF,
  kGuideOn = 0xB0,
  kGuideOff = 0xB1,
  kCoolerDrive = 0xB2,
  kTemperature = 0xB3,
  kHostPort = 0xB4,
  kTransferCount = 0xB5,
  kWriteSensorByte = 0xB6,
  kReadSensorByte = 0xB7,
  kI2cMemory = 0xBA,
  kReadFpga = 0xBC,
  kWriteFpga = 0xBD,
  kSwitchBus = 0xBE,
  kWriteFlash = 0xC2,
  kReadFlash = 0xC3,
  kFlashSector = 0xC4,
  kThermistor = 0xC7,
};

}  // namespace orvik
