// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace orvik {

/// Where DownloadFw() puts a firmware image.
enum FX3_FWDWNLOAD_MEDIA_TYPE : std::int32_t {
  FWDWNLOAD_RAM = 1,        ///< the bridge's RAM: it runs until the camera loses power
  FWDWNLOAD_I2CE2PROM = 2,  ///< the EEPROM that the bridge boots from
  FWDWNLOAD_SPIFLASH = 3,   ///< the SPI flash
};

/// How a download ended.
enum FX3_FWDWNLOAD_ERROR_CODE : std::int32_t {
  FWDWNLOAD_SUCCESS = 0,
  FWDWNLOAD_FAILED = 1,           ///< a transfer failed, or what was read back differs
  FWDWNLOAD_UNKNOWN_MEDIA = 2,    ///< none of FX3_FWDWNLOAD_MEDIA_TYPE
  FWDWNLOAD_NO_SIGNATURE = 3,     ///< the image does not start with "CY"
  FWDWNLOAD_SECTION_OVERRUN = 5,  ///< a section runs past the end of the image
  FWDWNLOAD_NO_FILE = 6,          ///< the file cannot be read, is empty, or too large
  FWDWNLOAD_ERASE_FAILED = 7,     ///< a sector of the SPI flash could not be erased
  FWDWNLOAD_CHUNK_OVERRUN = 8,    ///< a section's first part is longer than the whole image
  FWDWNLOAD_NO_EEPROM_SIZE = 9,   ///< the image does not name the EEPROM's size, or there is none
};

}  // namespace orvik
