/* SPDX-License-Identifier: MIT */
/**
 * @file orvik_service.h
 * What goes beyond capturing: cameras by their identity (orvik_devices.h) and what is known of
 * their images (orvik_frames.h), which this header includes; texts for errors, recording darks, hot
 * pixels, timed guide pulses, settings, the cooler's state, firmware and flash. A companion of
 * orvik.h.
 *
 * Valid C99 and C++. The functions are in liborvik.so and follow the rules of orvik.h: the order of
 * checks (index, open camera, arguments), no exceptions, no output, nothing written through
 * pointers by a call that fails. A null pointer, or a number outside the range that a function
 * names, is refused with #Orvik_ERROR_ARGUMENT. Work that capture would spoil, or that would spoil
 * capture, is refused while it runs: with #Orvik_ERROR_VIDEO_RUNNING during video, and
 * #Orvik_ERROR_EXPOSING during a snapshot. Every function can answer #Orvik_ERROR_CAMERA_INDEX and
 * #Orvik_ERROR_NO_CAMERA_OBJECT, as those of orvik.h do; their lists below name the rest.
 *
 * ## Threads
 *
 * "Any thread", "controlling thread" and "frame thread" mean what they mean in orvik.h. "Service
 * thread": any thread, one at a time per camera. Capture that is asked for meanwhile does not
 * start, and OrvikCloseCamera() from another thread waits for the end.
 *
 * ## Flash
 *
 * A camera's flash holds its firmware from address 0, the table of hot pixels from 0x40000, and the
 * user's mark at 0x70000. It is erased in sectors of 64 KiB. Nothing is erased before the camera
 * has acknowledged that the flash has the bus, which it shares with the images. A request that
 * fails is tried up to three times. The beginning of firmware and table, by which they are
 * recognised, is erased first and written last: a write that was interrupted leaves none in the
 * flash, and doing it again from its start mends it. All functions that use the flash answer
 * #Orvik_ERROR_DRIVER_FAILED while the camera is being closed.
 */
#ifndef ORVIK_ORVIK_SERVICE_H
#define ORVIK_ORVIK_SERVICE_H

#include <stdint.h>

#include "orvik/orvik.h"
#include "orvik/orvik_devices.h"
#include "orvik/orvik_frames.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Room for the path of a dark frame's file, with its end. */
#define ORVIK_PATH_BYTES 256

/** Bytes of flash that firmware may take: what lies behind belongs to hot pixels and identity. */
#define ORVIK_FIRMWARE_AREA_BYTES 0x40000

/** The longest guide pulse, milliseconds. */
#define ORVIK_MAX_PULSE_MS 60000

/** A camera's dark frame. Filled by OrvikGetDarkInfo(). */
typedef struct Orvik_DARK_INFO {
  Orvik_BOOL hasDark;          /**< 1 when one has been taken or loaded */
  Orvik_BOOL inUse;            /**< 1 when 8-bit frames are subtracted from */
  int32_t mean;                /**< mean of its pixels, 0 to 255; 0 without a dark */
  int32_t hotPixels;           /**< pixels that stand 31 or more above the mean */
  char path[ORVIK_PATH_BYTES]; /**< the file last loaded or saved, zero-terminated; "" for none,
                                    and for a path that does not fit */
} Orvik_DARK_INFO;

/** The recording of a dark. Filled by OrvikGetDarkRecording(). */
typedef struct Orvik_DARK_RECORDING {
  int32_t framesTaken;  /**< frames averaged so far */
  int32_t framesWanted; /**< frames that make the dark, 1 to 5; 1 before the first recording */
  Orvik_BOOL isOver;    /**< 1 when the last recording was completed */
} Orvik_DARK_RECORDING;

/** A camera's hot pixels. Filled by OrvikGetHotPixelInfo(). */
typedef struct Orvik_HOT_PIXEL_INFO {
  Orvik_BOOL hasTable; /**< 1 when a table was made, or read from the camera */
  Orvik_BOOL isOn;     /**< 1 when frames are corrected */
  int32_t onSensor;    /**< hot pixels of the sensor */
  int32_t inRegion;    /**< hot samples in frames of the present region; 0 while it is off */
} Orvik_HOT_PIXEL_INFO;

/** A pixel of the sensor, 0-based from its top left corner. */
typedef struct Orvik_PIXEL {
  int32_t x; /**< column */
  int32_t y; /**< row */
} Orvik_PIXEL;

/** Where the user's settings are kept. Filled by OrvikGetSettingsPlace(). */
typedef struct Orvik_SETTINGS_PLACE {
  char file[4096];  /**< the file, zero-terminated; "" for a user who has no home, and for a path
                         that does not fit */
  int32_t obstacle; /**< 0 when settings can be kept, else the system's error number (errno) */
} Orvik_SETTINGS_PLACE;

/** A product that the library drives. Filled by OrvikGetProduct(). */
typedef struct Orvik_PRODUCT {
  char name[64];             /**< display name, zero-terminated */
  int32_t vendorId;          /**< USB vendor ID */
  int32_t productId;         /**< USB product ID */
  int32_t largestFrameBytes; /**< bytes of the sensor's full size at its widest samples */
  Orvik_BOOL usb3Camera;     /**< 1 for a model built for USB 3 */
} Orvik_PRODUCT;

/** Why a cooler has no power though it is to hold a temperature. */
typedef enum ORVIK_INT32 {
  Orvik_COOLER_NO_FAULT = 0,
  /** The thermistor has not answered for 30 s. */
  Orvik_COOLER_NO_READING = 1,
  /** For 30 s it has shown nothing from -20 to 113 degrees Celsius: it is broken, or the sensor is
      colder. */
  Orvik_COOLER_OUT_OF_RANGE = 2,
} Orvik_COOLER_FAULT;

/** How a cooler stands. Filled by OrvikGetCoolerStatus(). */
typedef struct Orvik_COOLER_STATUS {
  Orvik_BOOL isRegulating; /**< 1 while the cooler is to hold a temperature */
  int32_t aim;             /**< which one, degrees Celsius: #Orvik_CTL_TARGET_TEMP, but never below
                                -19, the coldest that the thermistor can tell from colder ones */
  int32_t power;           /**< power that the camera acknowledged last, percent, 0 to 100 */
  int32_t temperature;     /**< last valid reading, tenths of a degree Celsius */
  Orvik_BOOL isValid;      /**< 1 when the thermistor gave a valid reading when asked last */
  int32_t secondsSinceReading; /**< age of the last valid reading; -1 when there was none yet */
  Orvik_COOLER_FAULT fault;    /**< other than 0: regulation has taken the power away, and goes on
                                    with the next valid reading */
} Orvik_COOLER_STATUS;

/** What a camera runs. Filled by OrvikGetFirmwareVersion(). */
typedef struct Orvik_FIRMWARE_VERSION {
  int32_t firmware;  /**< version of the USB bridge's firmware, 0 to 255 */
  int32_t fpgaMajor; /**< version of the FPGA, first part, 0 to 255 */
  int32_t fpgaMinor; /**< second part, 0 to 65535, shown as four hexadecimal digits */
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
  Orvik_FIRMWARE_FORMAT format; /**< how it is built up */
  int32_t fileBytes;            /**< length of the file */
  int32_t parts;                /**< sections or records */
  int32_t dataBytes;            /**< bytes that go into the bridge's memory */
  uint32_t entry;               /**< address at which the program starts */
  Orvik_BOOL fitsFlash;         /**< 1 when OrvikFlashFirmware() takes it */
} Orvik_FIRMWARE_FILE;

/** A step of long work. */
typedef enum ORVIK_INT32 {
  Orvik_STEP_ERASE = 0,
  Orvik_STEP_WRITE = 1,
  Orvik_STEP_READ = 2,
} Orvik_STEP;

/**
 * Told how far long work has come: at the beginning of a step, after each part, and at its end.
 *
 * Runs on the thread that called the function, which waits for it; it must not call a function on
 * the same camera.
 *
 * @param context what the caller gave with the function
 * @param done, total bytes of this step
 */
typedef void (*Orvik_PROGRESS)(void* context, Orvik_STEP step, int32_t done, int32_t total);

/** @addtogroup library The library
 *  @{ */

/**
 * Tells the version of the library that is loaded, as "1.2.3"; #ORVIK_VERSION_MAJOR and its
 * companions tell that of the header.
 *
 * @return never null. The text lives as long as the library is loaded.
 * @par Thread: any thread. Needs no camera.
 */
ORVIK_API const char* OrvikGetVersion(void);

/**
 * Explains an error code in English: what happened, and what to do about it.
 *
 * @param code any number; one that the library does not know has a text of its own
 * @return one or more sentences, never null. The text lives as long as the library is loaded.
 * @par Thread: any thread. Needs no camera.
 */
ORVIK_API const char* OrvikErrorText(Orvik_ERROR_CODE code);

/** @}
 *  @addtogroup identity Identity
 *  @{ */

/**
 * Describes a product that the library drives, connected or not. Calling it with 0, 1, ... until it
 * fails lists all.
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
 * Begins to take a dark frame.
 *
 * The next frames that OrvikGetVideoData() or OrvikGetDataAfterExp() deliver are averaged into it,
 * from 5 at exposures up to 100 ms down to 1 from 776 ms on. Cover the telescope first. The present
 * format must show every sensor pixel in 8 bits: full size, bin 1, #Orvik_IMG_RAW8, #Orvik_IMG_Y8
 * or #Orvik_IMG_RGB24; frames of other formats, set meanwhile, are passed over. A dark taken before
 * stays until this one is complete. A recording that was going on is begun anew.
 *
 * @param framesWanted receives how many frames it takes, 1 to 5; may be null
 * @retval Orvik_ERROR_ROI_SIZE the format is another one
 * @par Thread: any thread, also during capture. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStartDarkRecording(int index, int* framesWanted);

/**
 * Ends the recording of a dark before its time; the dark from before stays. Without one, does
 * nothing.
 *
 * @par Thread: any thread. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStopDarkRecording(int index);

/**
 * Tells how the recording of a dark stands.
 *
 * @par Thread: any thread. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetDarkRecording(int index, Orvik_DARK_RECORDING* recording);

/**
 * Saves the dark, taken or loaded, as an 8-bit bitmap that OrvikEnableDarkSubtract() reads.
 *
 * The file appears under its name when it is complete; until then, and on failure, an older one of
 * that name stays. The path is kept as that of the camera's dark; give an absolute one if another
 * run is to find it.
 *
 * @param path file to write
 * @retval Orvik_ERROR_NO_DARK there is none
 * @retval Orvik_ERROR_FILE the file cannot be written
 * @par Thread: any thread. As long as the disk takes.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSaveDark(int index, const char* path);

/**
 * Switches the subtraction of the dark at hand, taken or loaded, on or off.
 *
 * @retval Orvik_ERROR_NO_DARK it is to be switched on, and there is none
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikUseDark(int index, Orvik_BOOL use);

/**
 * Tells of the camera's dark frame.
 *
 * @par Thread: any thread. Looks at every pixel of the dark.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetDarkInfo(int index, Orvik_DARK_INFO* info);

/**
 * Makes the table of hot pixels from the dark: all that stand 31 or more above its mean. Pixels
 * marked by hand stay as they were marked.
 *
 * @param count receives the number of hot pixels; may be null
 * @retval Orvik_ERROR_NO_DARK there is no dark
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
 * Saves the table of hot pixels in the camera's flash and verifies it. Where there is a dark, the
 * table is made from it first.
 *
 * A saved table reads back as it was. Of scattered hot pixels there is room for nearly one in
 * sixteen of the sensor's, or 80000, whichever is less; for more where some are neighbours in a
 * row.
 *
 * @retval Orvik_ERROR_NO_TABLE there is neither a table nor a dark
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_TABLE_TOO_LARGE more hot pixels than the flash has room for; the table in it
 *         is as it was
 * @retval Orvik_ERROR_DRIVER_FAILED it could not be written or verified
 * @par Thread: service thread. Takes seconds; ends at the first request that fails three times, or
 *      30 s after the erasing of a sector began.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSaveHotPixels(int index);

/**
 * Reads the table of hot pixels from the camera's flash, as OrvikOpenCamera() does.
 *
 * @param count receives the number of hot pixels; may be null
 * @retval Orvik_ERROR_NO_TABLE none is stored, or it cannot be read whole; what could be read of it
 *         is used
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @par Thread: service thread. Well under a second; some 5 s per 2 KiB of table at worst.
 */
ORVIK_API Orvik_ERROR_CODE OrvikLoadHotPixels(int index, int* count);

/**
 * Switches the correction of hot pixels on or off. OrvikOpenCamera() switches it on where the
 * camera's flash holds a table, and off where it holds none.
 *
 * @retval Orvik_ERROR_NO_TABLE it is to be switched on, and there is no table
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikUseHotPixels(int index, Orvik_BOOL use);

/**
 * Tells of the camera's hot pixels.
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
 * Gives a guide pulse of a known length, and returns at its end.
 *
 * OrvikPulseGuideOff() for the same line, from another thread, ends the pulse. Pulses on different
 * lines may overlap.
 *
 * @param direction 0 to 3
 * @param milliseconds 0 to #ORVIK_MAX_PULSE_MS
 * @retval Orvik_ERROR_DRIVER_FAILED the camera did not take a request. If the line may still be on,
 *         the next request that gets through switches it off, and so does closing the camera.
 * @par Thread: any thread. Takes as long as the pulse and two requests.
 */
ORVIK_API Orvik_ERROR_CODE OrvikPulseGuide(int index, GuideD direction, int milliseconds);

/** @}
 *  @addtogroup controls Controls and settings
 *  @{ */

/**
 * Keeps the camera's settings now, as the end of a video does, and as OrvikCloseCamera() does where
 * something has changed: a camera of its model comes up with them. Exposures above 0.1 s come up as
 * 0.1 s, and a dark frame that no file of a path of at most 255 bytes holds does not come up.
 *
 * @retval Orvik_ERROR_FILE there is no place for them, or they cannot be written; see
 *         OrvikGetSettingsPlace()
 * @par Thread: any thread. Waits up to a second for another program's saving.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSaveSettings(int index);

/**
 * Tells where the settings of real cameras are kept, and what would keep this user from writing
 * them. Writes nothing: a full disk does not show.
 *
 * @retval Orvik_ERROR_ARGUMENT `place` is null
 * @par Thread: any thread. Needs no camera.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetSettingsPlace(Orvik_SETTINGS_PLACE* place);

/** @}
 *  @addtogroup cooler Cooler
 *  @{ */

/**
 * Tells how the cooler of a camera stands. The temperature is measured about every 1.8 s.
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
 * Asks the camera for its versions.
 *
 * @retval Orvik_ERROR_DRIVER_FAILED it did not answer
 * @par Thread: any thread, also during capture. Four requests.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetFirmwareVersion(int index, Orvik_FIRMWARE_VERSION* version);

/**
 * Reads a firmware file to its end and tells what it is. Needs no camera.
 *
 * That a file is sound does not mean that it is for the camera at hand.
 *
 * @param path a file of at most 16 MiB
 * @retval Orvik_ERROR_ARGUMENT a pointer is null
 * @retval Orvik_ERROR_FILE the file cannot be read, is empty, or too large
 * @retval Orvik_ERROR_FIRMWARE_IMAGE it is no firmware, or is cut off
 * @par Thread: any thread. As long as the disk takes.
 */
ORVIK_API Orvik_ERROR_CODE OrvikCheckFirmwareFile(const char* path, Orvik_FIRMWARE_FILE* file);

/**
 * Loads firmware into the bridge's memory and starts it. It runs until the camera loses power.
 *
 * The file is checked before anything is sent, and read back from the bridge before it starts. The
 * camera may leave the bus as the firmware starts: close it, wait a few seconds, and enumerate
 * again.
 *
 * @retval Orvik_ERROR_FILE as OrvikCheckFirmwareFile()
 * @retval Orvik_ERROR_FIRMWARE_IMAGE the same, or it is of the other format than the model's
 * bridge: #Orvik_FIRMWARE_SECTIONS for models that are built for USB 3, #Orvik_FIRMWARE_RECORDS for
 *         the others
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_DRIVER_FAILED a part could not be written, or read back differently, and
 *         nothing was started; or the bridge did not acknowledge the start. Power the camera off
 * and on.
 * @par Thread: service thread. Six requests per 2 KiB; ends at the first part that fails.
 */
ORVIK_API Orvik_ERROR_CODE OrvikLoadFirmware(int index, const char* path);

/**
 * Writes firmware of #Orvik_FIRMWARE_SECTIONS into the camera's flash and verifies all of it.
 *
 * The file is checked before anything is sent. Do not unplug the camera meanwhile. After a failure
 * call it again; until it has succeeded the camera may not start.
 *
 * @param progress may be null; @param context is handed to it
 * @retval Orvik_ERROR_FILE as OrvikCheckFirmwareFile()
 * @retval Orvik_ERROR_FIRMWARE_IMAGE the same, or it is no such firmware, or longer than
 *         #ORVIK_FIRMWARE_AREA_BYTES, or the model is not built for USB 3, and starts from
 * elsewhere
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_FLASH_ERASE a sector could not be erased
 * @retval Orvik_ERROR_VERIFY all was written, and something else is read back
 * @retval Orvik_ERROR_DRIVER_FAILED a request failed three times
 * @par Thread: service thread. Seconds; ends at the first request that fails for good, and at the
 *      latest 30 s after the erasing of each sector began.
 */
ORVIK_API Orvik_ERROR_CODE OrvikFlashFirmware(int index, const char* path, Orvik_PROGRESS progress,
                                              void* context);

/**
 * Compares the beginning of the camera's flash with a firmware file.
 *
 * @param progress may be null; @param context is handed to it
 * @retval Orvik_ERROR_FILE, Orvik_ERROR_FIRMWARE_IMAGE as OrvikFlashFirmware()
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_VERIFY the flash holds something else
 * @retval Orvik_ERROR_DRIVER_FAILED a request failed three times
 * @par Thread: service thread. One request per 2 KiB.
 */
ORVIK_API Orvik_ERROR_CODE OrvikVerifyFirmware(int index, const char* path, Orvik_PROGRESS progress,
                                               void* context);

/**
 * Reads a stretch of the camera's flash.
 *
 * @param address a multiple of 256, below 16 MiB
 * @param buffer receives the bytes; after a failure its contents are undefined
 * @param size bytes, 1 or more; the stretch ends within the first 16 MiB
 * @param progress may be null; @param context is handed to it
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_DRIVER_FAILED a request failed three times, or the flash is smaller
 * @par Thread: service thread. One request per 2 KiB; at worst 5 s for each before it gives up.
 */
ORVIK_API Orvik_ERROR_CODE OrvikReadFlash(int index, uint32_t address, unsigned char* buffer,
                                          int32_t size, Orvik_PROGRESS progress, void* context);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ORVIK_ORVIK_SERVICE_H */
