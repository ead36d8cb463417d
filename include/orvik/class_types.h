// SPDX-License-Identifier: MIT
/**
 * @file
 * The types that the camera classes use in addition to those of orvik.h.
 */
#ifndef ORVIK_CLASS_TYPES_H
#define ORVIK_CLASS_TYPES_H

#include <cstdint>

namespace orvik {

/** The pixel layout of a delivered image. */
enum IMAGE_TYPE : std::int32_t {
  IMAGE_8BIT = 0,   /**< mosaic (raw output) or luminance, 1 byte per pixel */
  IMAGE_RGB24 = 1,  /**< blue, green, red, 1 byte each */
  IMAGE_YUV422 = 2, /**< packed 4:2:2, 2 bytes per pixel, the bottom row first */
  IMAGE_GREY30 = 3, /**< a 10-bit value three times in 32 bits */
  IMAGE_RAW16 = 4,  /**< mosaic, 2 bytes per pixel, the low byte first */
};

/** The capabilities for CCameraBase::isAvailable(). They have their own numbering. */
enum Control_TYPE : std::int32_t {
  CONTROL_GAIN = 0,         /**< gain */
  CONTROL_EXPOSURE = 1,     /**< exposure time */
  CONTROL_GAMMA = 2,        /**< gamma */
  CONTROL_WB_R = 3,         /**< white balance, red */
  CONTROL_WB_B = 4,         /**< white balance, blue */
  CONTROL_BRIGHTNESS = 5,   /**< black level */
  CONTROL_BANDWIDTH = 6,    /**< share of the USB bandwidth */
  CONTROL_OVERCLK = 7,      /**< over-clocking */
  CONTROL_TEMPERATURE = 8,  /**< thermometer */
  CONTROL_FLIP = 9,         /**< flips */
  CONTROL_AUTO_LIMITS = 10, /**< limits of automatic exposure and gain */
  CONTROL_COOLER = 11,      /**< cooler */
  CONTROL_COOL_POWER = 12,  /**< power of the cooler */
  CONTROL_TARGET_TEMP = 13, /**< target temperature of the cooler */
};

/** Whether hot pixels are corrected. */
enum HPCStatus : std::int32_t {
  HPC_OFF = 0, /**< they are not corrected */
  HPC_ON = 1,  /**< they are corrected */
};

/** The memory to which CCameraBase::DownloadFw() writes a firmware image. */
enum FX3_FWDWNLOAD_MEDIA_TYPE : std::int32_t {
  FWDWNLOAD_RAM = 1,       /**< the bridge's RAM: the image runs until the camera loses power */
  FWDWNLOAD_I2CE2PROM = 2, /**< the EEPROM that the bridge boots from */
  FWDWNLOAD_SPIFLASH = 3,  /**< the SPI flash */
};

/** The result of a download. */
enum FX3_FWDWNLOAD_ERROR_CODE : std::int32_t {
  FWDWNLOAD_SUCCESS = 0,         /**< done */
  FWDWNLOAD_FAILED = 1,          /**< a transfer failed, or the data read back differ */
  FWDWNLOAD_UNKNOWN_MEDIA = 2,   /**< not a value of FX3_FWDWNLOAD_MEDIA_TYPE */
  FWDWNLOAD_NO_SIGNATURE = 3,    /**< the image does not start with "CY" */
  FWDWNLOAD_SECTION_OVERRUN = 5, /**< a section runs past the end of the image */
  FWDWNLOAD_NO_FILE = 6,         /**< the file cannot be read, is empty, or too large */
  FWDWNLOAD_ERASE_FAILED = 7,    /**< a sector of the SPI flash could not be erased */
  FWDWNLOAD_CHUNK_OVERRUN = 8,   /**< a section's first part is longer than the whole image */
  FWDWNLOAD_NO_EEPROM_SIZE = 9,  /**< no EEPROM size in the image, or no such EEPROM */
};

}  // namespace orvik

#endif
