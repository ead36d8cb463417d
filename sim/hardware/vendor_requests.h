// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik::sim {

/// The vendor requests of the bridge's firmware. Which of those to the sensor and its board are
/// answered depends on the board.
enum VendorRequest : std::uint8_t {
  kCoreMemory = 0xA0,
  kSlowSensorClock = 0xA3,
  kFastSensorClock = 0xA4,
  kWriteSensorWord = 0xA6,
  kReadSensorWord = 0xA7,
  kStartStreaming = 0xA9,
  kHelperBlock = 0xA9,  ///< to the flash helper
  kStopStreaming = 0xAA,
  kNarrowOutput = 0xAB,
  kWideOutput = 0xAC,
  kFirmwareVersion = 0xAD,
  kStopSensorClock = 0xAE,
  kStartSensorClock = 0xAF,
  kGuideOn = 0xB0,
  kGuideOff = 0xB1,
  kCoolerDrive = 0xB2,
  kTemperature = 0xB3,
  kHostPort = 0xB4,
  kTransferCount = 0xB5,
  kWriteSensor = 0xB6,
  kReadSensor = 0xB7,
  kEeprom = 0xBA,
  kReadFpga = 0xBC,
  kWriteFpga = 0xBD,
  kWideBus = 0xBE,
  kWriteFlash = 0xC2,
  kReadFlash = 0xC3,
  kFlashSector = 0xC4,
  kThermistor = 0xC7,
};

}  // namespace orvik::sim
