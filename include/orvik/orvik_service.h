/* SPDX-License-Identifier: MIT */
/**
 * @file orvik_service.h
 * Functions beyond capture: cameras by identity (orvik_devices.h), information about images
 * (orvik_frames.h) and stored settings (orvik_settings.h), which this header includes; error texts,
 * recording of dark frames, hot pixels, timed guide pulses, cooler status, firmware and flash. A
 * companion of orvik.h.
 *
 * Valid C99 and C++. The functions are in liborvik.so and follow the rules of orvik.h: the order of
 * checks (index, open camera, arguments), no exceptions, no output, nothing written through
 * pointers by a call that fails. A null pointer, or a number outside the documented range, is
 * refused with #Orvik_ERROR_ARGUMENT. Operations that would disturb capture, or be disturbed by it,
 * are refused while it runs: with #Orvik_ERROR_VIDEO_RUNNING during video, and with
 * #Orvik_ERROR_EXPOSING during a snapshot. Every function can return #Orvik_ERROR_CAMERA_INDEX and
 * #Orvik_ERROR_NO_CAMERA_OBJECT, as those of orvik.h do; the lists below name the other codes.
 *
 * ## Threads
 *
 * "Any thread", "controlling thread" and "frame thread" are defined in orvik.h. "Service thread":
 * any thread, one at a time per camera. During such a call capture cannot be started, and
 * OrvikCloseCamera() on another thread waits for its end.
 *
 * ## Flash
 *
 * The flash of a camera contains its firmware from address 0, the table of hot pixels from 0x40000,
 * and the camera ID at 0x70000. It is erased in sectors of 64 KiB. Nothing is erased before the
 * camera has acknowledged that the flash has the bus, which it shares with the images. A request is
 * tried up to three times. The beginning of firmware and table, which identifies them, is erased
 * first and written last: after an interrupted write there is no firmware or table in the flash,
 * and repeating the write repairs that. All functions that use the flash return
 * #Orvik_ERROR_DRIVER_FAILED while the camera is being closed.
 */
#ifndef ORVIK_ORVIK_SERVICE_H
#define ORVIK_ORVIK_SERVICE_H

#include <stdint.h>

#include "orvik/orvik.h"
#include "orvik/orvik_devices.h"
#include "orvik/orvik_frames.h"
#include "orvik/orvik_settings.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Size of the path of a dark frame file, including the terminating zero. */
#define ORVIK_PATH_BYTES 256

/** Bytes of flash for firmware: the rest is for hot pixels and camera ID. */
#define ORVIK_FIRMWARE_AREA_BYTES 0x40000

/** The longest guide pulse, milliseconds. */
#define ORVIK_MAX_PULSE_MS 60000

/** A camera's dark frame. Filled by OrvikGetDarkInfo(). */
typedef struct Orvik_DARK_INFO {
  Orvik_BOOL hasDark;          /**< 1 when there is one, recorded or loaded */
  Orvik_BOOL inUse;            /**< 1 when it is subtracted from 8-bit frames */
  int32_t mean;                /**< mean of its pixels, 0 to 255; 0 without a dark frame */
  int32_t hotPixels;           /**< pixels that are 31 or more above the mean */
  char path[ORVIK_PATH_BYTES]; /**< the file last loaded or saved, zero-terminated; "" if there is
                                    none, or the path does not fit */
} Orvik_DARK_INFO;

/** The recording of a dark frame. Filled by OrvikGetDarkRecording(). */
typedef struct Orvik_DARK_RECORDING {
  int32_t framesTaken;  /**< frames averaged so far */
  int32_t framesWanted; /**< frames needed, 1 to 5; 1 before the first recording */
  Orvik_BOOL isOver;    /**< 1 when the last recording was completed */
} Orvik_DARK_RECORDING;

/** A camera's hot pixels. Filled by OrvikGetHotPixelInfo(). */
typedef struct Orvik_HOT_PIXEL_INFO {
  Orvik_BOOL hasTable; /**< 1 when a table was made, or read from the camera */
  Orvik_BOOL isOn;     /**< 1 when frames are corrected */
  int32_t onSensor;    /**< hot pixels of the sensor */
  int32_t inRegion;    /**< hot samples in frames of the present region; 0 if correction is off */
} Orvik_HOT_PIXEL_INFO;

/** A pixel of the sensor, 0-based from its top left corner. */
typedef struct Orvik_PIXEL {
  int32_t x; /**< column */
  int32_t y; /**< row */
} Orvik_PIXEL;

/** A product that the library supports. Filled by OrvikGetProduct(). */
typedef struct Orvik_PRODUCT {
  char name[64];             /**< display name, zero-terminated */
  int32_t vendorId;          /**< USB vendor ID */
  int32_t productId;         /**< USB product ID */
  int32_t largestFrameBytes; /**< bytes of a frame of the full sensor with the largest samples */
  Orvik_BOOL usb3Camera;     /**< 1 for a model built for USB 3 */
} Orvik_PRODUCT;

/** Why a cooler has no power although regulation is on. */
typedef enum ORVIK_INT32 {
  Orvik_COOLER_NO_FAULT = 0,
  /** The thermistor has not answered for 30 s. */
  Orvik_COOLER_NO_READING = 1,
  /** For 30 s all its readings were outside -20 to 113 degrees Celsius: it is broken, or the sensor
      is colder. */
  Orvik_COOLER_OUT_OF_RANGE = 2,
} Orvik_COOLER_FAULT;

/** The status of a cooler. Filled by OrvikGetCoolerStatus(). */
typedef struct Orvik_COOLER_STATUS {
  Orvik_BOOL isRegulating; /**< 1 while regulation is on */
  int32_t aim;             /**< target of regulation, degrees Celsius: #Orvik_CTL_TARGET_TEMP, but
                                at least -19; colder ones cannot be measured reliably */
  int32_t power;           /**< power that the camera acknowledged last, percent, 0 to 100 */
  int32_t temperature;     /**< last valid reading, tenths of a degree Celsius */
  Orvik_BOOL isValid;      /**< 1 when the last reading of the thermistor was valid */
  int32_t secondsSinceReading; /**< age of the last valid reading; -1 when there was none yet */
  Orvik_COOLER_FAULT fault;    /**< other than 0: regulation has switched off the power, and
                                    continues with the next valid reading */
} Orvik_COOLER_STATUS;

/** The versions of a camera. Filled by OrvikGetFirmwareVersion(). */
typedef struct Orvik_FIRMWARE_VERSION {
  int32_t firmware;  /**< version of the USB bridge's firmware, 0 to 255 */
  int32_t fpgaMajor; /**< version of the FPGA, first part, 0 to 255 */
  int32_t fpgaMinor; /**< second part, 0 to 65535, displayed as four hexadecimal digits */
} Orvik_FIRMWARE_VERSION;

/** The format of a firmware file. */
typedef enum ORVIK_INT32 {
  /** Sections with load addresses, for the bridge of USB 3 cameras. */
  Orvik_FIRMWARE_SECTIONS = 1,
  /** A stream of records, for the bridge of USB 2 cameras. */
  Orvik_FIRMWARE_RECORDS = 2,
} Orvik_FIRMWARE_FORMAT;

/** A firmware file. Filled by OrvikCheckFirmwareFile(). */
typedef struct Orvik_FIRMWARE_FILE {
  Orvik_FIRMWARE_FORMAT format; /**< format of the file */
  int32_t fileBytes;            /**< length of the file */
  int32_t parts;                /**< sections or records */
  int32_t dataBytes;            /**< bytes that are loaded into the bridge's memory */
  uint32_t entry;               /**< address at which the program starts */
  Orvik_BOOL fitsFlash;         /**< 1 when OrvikFlashFirmware() accepts it */
} Orvik_FIRMWARE_FILE;

/** A step of a long operation. */
typedef enum ORVIK_INT32 {
  Orvik_STEP_ERASE = 0,
  Orvik_STEP_WRITE = 1,
  Orvik_STEP_READ = 2,
} Orvik_STEP;

/**
 * Called with the progress of a long operation: at the beginning of a step, after each part, and at
 * its end.
 *
 * Runs on the thread that called the function, which waits for it; it must not call functions for
 * the same camera.
 *
 * @param context pointer that the caller passed with the callback
 * @param done, total bytes of this step
 */
typedef void (*Orvik_PROGRESS)(void* context, Orvik_STEP step, int32_t done, int32_t total);

/** @addtogroup library The library
 *  @{ */

/**
 * Returns the version of the library that is loaded, as "1.2.3"; #ORVIK_VERSION_MAJOR,
 * #ORVIK_VERSION_MINOR and #ORVIK_VERSION_PATCH are that of the header.
 *
 * @return never null. The text is valid as long as the library is loaded.
 * @par Thread: any thread. Needs no camera.
 */
ORVIK_API const char* OrvikGetVersion(void);

/**
 * Explains an error code in English: what happened, and what to do about it.
 *
 * @param code any number; there is a text for unknown codes, too
 * @return one or more sentences, never null. The text is valid as long as the library is loaded.
 * @par Thread: any thread. Needs no camera.
 */
ORVIK_API const char* OrvikErrorText(Orvik_ERROR_CODE code);

/** @}
 *  @addtogroup identity Identity
 *  @{ */

/**
 * Describes a product that the library supports, connected or not. To list all, call it with 0,
 * 1, ... until it fails.
 *
 * @param position 0 to the number of products - 1
 * @retval Orvik_ERROR_ARGUMENT no such position, or `product` is null
 * @par Thread: any thread. Needs no camera.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetProduct(int position, Orvik_PRODUCT* product);

/** @}
 *  @addtogroup corrections Corrections
 *  @{ */

/**
 * Begins the recording of a dark frame.
 *
 * The next frames that OrvikGetVideoData() or OrvikGetDataAfterExp() deliver are averaged into it,
 * from 5 at exposures up to 100 ms to 1 from 776 ms on. Cover the telescope first. The present
 * format must show every sensor pixel in 8 bits: full size, bin 1, #Orvik_IMG_RAW8, #Orvik_IMG_Y8
 * or #Orvik_IMG_RGB24. If the format is changed meanwhile, frames of other formats are ignored. A
 * previous dark frame stays until this one is complete. A running recording is restarted.
 *
 * @param framesWanted receives how many frames are needed, 1 to 5; may be null
 * @retval Orvik_ERROR_ROI_SIZE the present format is a different one
 * @par Thread: any thread, also during capture. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStartDarkRecording(int index, int* framesWanted);

/**
 * Cancels the recording of a dark frame; the previous dark frame stays. Does nothing if no
 * recording is running.
 *
 * @par Thread: any thread. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStopDarkRecording(int index);

/**
 * Returns the progress of the recording of a dark frame.
 *
 * @par Thread: any thread. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetDarkRecording(int index, Orvik_DARK_RECORDING* recording);

/**
 * Saves the dark frame as an 8-bit bitmap that OrvikEnableDarkSubtract() can read.
 *
 * The file appears under its name only when it is complete; until then, and on failure, an older
 * file of that name stays. The path is stored as that of the camera's dark frame; use an absolute
 * one, so that it can be found the next time the program runs.
 *
 * @param path file to write
 * @retval Orvik_ERROR_NO_DARK there is none
 * @retval Orvik_ERROR_FILE the file cannot be written
 * @par Thread: any thread. Takes as long as the disk.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSaveDark(int index, const char* path);

/**
 * Switches the subtraction of the present dark frame on or off.
 *
 * @retval Orvik_ERROR_NO_DARK it should be switched on, but there is none
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikUseDark(int index, Orvik_BOOL use);

/**
 * Describes the dark frame of the camera.
 *
 * @par Thread: any thread. Evaluates every pixel of the dark frame.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetDarkInfo(int index, Orvik_DARK_INFO* info);

/**
 * Makes the table of hot pixels from the dark frame: all that are 31 or more above its mean. Pixels
 * marked by hand keep their marks.
 *
 * @param count receives the number of hot pixels; may be null
 * @retval Orvik_ERROR_NO_DARK there is no dark frame
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikDetectHotPixels(int index, int* count);

/**
 * Marks one pixel as hot, or as good.
 *
 * @param pixel within the sensor
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikMarkHotPixel(int index, Orvik_PIXEL pixel, Orvik_BOOL isHot);

/**
 * Saves the table of hot pixels in the camera's flash and verifies it. If there is a dark frame,
 * the table is made from it first.
 *
 * Saving loses nothing. There is room for nearly one in sixteen of the sensor's pixels, or 80000,
 * whichever is less, if the hot pixels are scattered; for more if some are neighbours in a row.
 *
 * @retval Orvik_ERROR_NO_TABLE there is neither a table nor a dark frame
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_TABLE_TOO_LARGE more hot pixels than the flash has room for; the table in it
 *         is unchanged
 * @retval Orvik_ERROR_DRIVER_FAILED it could not be written or verified
 * @par Thread: service thread. Takes seconds; ends at the first request that fails three times, or
 *      30 s after the erasing of a sector began.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSaveHotPixels(int index);

/**
 * Reads the table of hot pixels from the camera's flash, as OrvikOpenCamera() does.
 *
 * @param count receives the number of hot pixels; may be null
 * @retval Orvik_ERROR_NO_TABLE none is stored, or it cannot be read completely; the readable part
 *         is used
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @par Thread: service thread. Takes well under a second, at worst about 5 s per 2 KiB of the
 *   table.
 */
ORVIK_API Orvik_ERROR_CODE OrvikLoadHotPixels(int index, int* count);

/**
 * Switches the correction of hot pixels on or off. OrvikOpenCamera() switches it on if there is a
 * table in the camera's flash, else off.
 *
 * @retval Orvik_ERROR_NO_TABLE it should be switched on, but there is no table
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikUseHotPixels(int index, Orvik_BOOL use);

/**
 * Describes the hot pixels of the camera.
 *
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetHotPixelInfo(int index, Orvik_HOT_PIXEL_INFO* info);

/**
 * Lists the hot pixels row by row.
 *
 * @param pixels receives up to `capacity` pixels; may be null when `capacity` is 0
 * @param capacity 0 or more
 * @param count receives the number of hot pixels, which can be above `capacity`
 * @retval Orvik_ERROR_NO_TABLE there is no table
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetHotPixels(int index, Orvik_PIXEL* pixels, int capacity,
                                             int* count);

/** @}
 *  @addtogroup guide Guide port
 *  @{ */

/**
 * Gives a guide pulse of the given length, and returns at its end.
 *
 * OrvikPulseGuideOff() for the same line, from another thread, ends the pulse. Pulses on different
 * lines may overlap.
 *
 * @param direction 0 to 3
 * @param milliseconds 0 to #ORVIK_MAX_PULSE_MS
 * @retval Orvik_ERROR_DRIVER_FAILED the camera did not acknowledge a request. If the line may still
 *         be on, it is switched off after the next request that succeeds, or when the camera is
 *         closed.
 * @par Thread: any thread. Takes as long as the pulse and two requests.
 */
ORVIK_API Orvik_ERROR_CODE OrvikPulseGuide(int index, GuideD direction, int milliseconds);

/** @}
 *  @addtogroup cooler Cooler
 *  @{ */

/**
 * Returns the status of the cooler. The temperature is measured about every 1.8 s.
 *
 * @param status receives the record
 * @retval Orvik_ERROR_DRIVER_FAILED the camera has no cooler
 * @par Thread: any thread, also during capture. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetCoolerStatus(int index, Orvik_COOLER_STATUS* status);

/** @}
 *  @addtogroup firmware Firmware and flash
 *  @{ */

/**
 * Reads the versions of the camera.
 *
 * @retval Orvik_ERROR_DRIVER_FAILED it did not answer
 * @par Thread: any thread, also during capture. Takes four requests.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetFirmwareVersion(int index, Orvik_FIRMWARE_VERSION* version);

/**
 * Reads a complete firmware file and describes it. Needs no camera.
 *
 * A valid file is not necessarily made for a certain camera.
 *
 * @param path a file of at most 16 MiB
 * @retval Orvik_ERROR_ARGUMENT a pointer is null
 * @retval Orvik_ERROR_FILE the file cannot be read, is empty, or too large
 * @retval Orvik_ERROR_FIRMWARE_IMAGE it is no firmware, or is truncated
 * @par Thread: any thread. Takes as long as the disk.
 */
ORVIK_API Orvik_ERROR_CODE OrvikCheckFirmwareFile(const char* path, Orvik_FIRMWARE_FILE* file);

/**
 * Loads firmware into the bridge's memory and starts it. It runs until the camera loses power.
 *
 * The file is checked before anything is sent, and read back from the bridge before it is started.
 * The camera may leave the bus when the firmware starts: close it, wait a few seconds, and
 * enumerate again.
 *
 * @retval Orvik_ERROR_FILE as OrvikCheckFirmwareFile()
 * @retval Orvik_ERROR_FIRMWARE_IMAGE the same, or its format is not that of the model's bridge:
 *         #Orvik_FIRMWARE_SECTIONS for models that are built for USB 3, #Orvik_FIRMWARE_RECORDS for
 *         the others
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_DRIVER_FAILED a part could not be written or verified, and nothing was
 *         started; or the bridge did not acknowledge the start. Power the camera off and on.
 * @par Thread: service thread. Takes six requests per 2 KiB; ends at the first part that fails.
 */
ORVIK_API Orvik_ERROR_CODE OrvikLoadFirmware(int index, const char* path);

/**
 * Writes firmware of #Orvik_FIRMWARE_SECTIONS into the camera's flash and verifies all of it.
 *
 * The file is checked before anything is sent. Do not unplug the camera meanwhile. After a failure
 * call the function again; until it has succeeded, the camera may not boot.
 *
 * @param progress may be null
 * @param context is passed to `progress`
 * @retval Orvik_ERROR_FILE as OrvikCheckFirmwareFile()
 * @retval Orvik_ERROR_FIRMWARE_IMAGE the same, or it is firmware of another format, or longer than
 *         #ORVIK_FIRMWARE_AREA_BYTES, or the model is not built for USB 3 and does not boot from
 *         this flash
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_FLASH_ERASE a sector could not be erased
 * @retval Orvik_ERROR_VERIFY all was written, but the data read back differ
 * @retval Orvik_ERROR_DRIVER_FAILED a request failed three times
 * @par Thread: service thread. Takes seconds; ends at the first request that fails three times, or
 *      30 s after the erasing of a sector began.
 */
ORVIK_API Orvik_ERROR_CODE OrvikFlashFirmware(int index, const char* path, Orvik_PROGRESS progress,
                                              void* context);

/**
 * Compares the beginning of the camera's flash with a firmware file.
 *
 * @param progress may be null
 * @param context is passed to `progress`
 * @retval Orvik_ERROR_FILE, Orvik_ERROR_FIRMWARE_IMAGE as OrvikFlashFirmware()
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_VERIFY the contents of the flash differ
 * @retval Orvik_ERROR_DRIVER_FAILED a request failed three times
 * @par Thread: service thread. Takes one request per 2 KiB.
 */
ORVIK_API Orvik_ERROR_CODE OrvikVerifyFirmware(int index, const char* path, Orvik_PROGRESS progress,
                                               void* context);

/**
 * Reads a part of the camera's flash.
 *
 * @param address a multiple of 256, below 16 MiB
 * @param buffer receives the bytes; after a failure its contents are undefined
 * @param size bytes, 1 or more; the part must end within the first 16 MiB
 * @param progress may be null
 * @param context is passed to `progress`
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_DRIVER_FAILED a request failed three times, or the flash is smaller
 * @par Thread: service thread. Takes one request per 2 KiB, each of which can take up to 5 s before
 *      it fails.
 */
ORVIK_API Orvik_ERROR_CODE OrvikReadFlash(int index, uint32_t address, unsigned char* buffer,
                                          int32_t size, Orvik_PROGRESS progress, void* context);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ORVIK_ORVIK_SERVICE_H */
