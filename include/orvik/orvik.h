/* SPDX-License-Identifier: MIT */
/**
 * @file orvik.h
 * The flat interface of Orvik, a user-space driver library for USB astronomical cameras.
 *
 * Valid C99 and C++. The header needs nothing but <stdint.h>.
 *
 * ## Cameras and indices
 *
 * A camera is addressed by a small index, 0-based, into the list that
 * OrvikGetNumOfConnectedCameras() builds. Indices are stable while nothing is plugged or unplugged;
 * enumerate before opening. Programs that tell cameras apart, or that run while cameras come and
 * go, open them by serial number or port and use handles (orvik_devices.h): every function takes a
 * handle in the place of an index.
 *
 * ## Results
 *
 * Every function but OrvikGetNumOfConnectedCameras() returns an ::Orvik_ERROR_CODE, #Orvik_OK (0)
 * on success. Checks are made in this order: the index against the number of connected cameras
 * (#Orvik_ERROR_CAMERA_INDEX; OrvikGetCameraProperty() alone answers #Orvik_ERROR_INFO_INDEX), then
 * whether the camera is open (#Orvik_ERROR_NO_CAMERA_OBJECT), then the function's own arguments. A
 * call that fails changes nothing and writes nothing through its pointers, unless its own
 * documentation says otherwise. A null pointer is refused with the error named in the function's
 * documentation. No function throws or ends the process. None prints, with two exceptions: a device
 * whose descriptors are malformed is named on the standard error stream, and so is what goes wrong
 * in a replay that the environment asked for (ORVIK_REPLAY).
 *
 * ## Unloading
 *
 * Once loaded, the library stays: dlclose() leaves it, its threads and the open cameras as they
 * are. Close the cameras first.
 *
 * ## Threads
 *
 * - "Controlling thread": enumeration, property query, open and close are for one thread at a time
 *   per process.
 * - "Any thread": may be called from any thread while the camera stays open, also while another
 *   thread waits in OrvikGetVideoData().
 * - "Frame thread": frame delivery; one thread at a time per camera.
 *
 * A thread that is cancelled (pthread_cancel) inside a call ends after the call.
 *
 * Every call ends by a deadline. A request to the camera takes at most 1.6 s (500 ms, 50 ms after
 * a cancellation, and up to 1 s for a controller that does not give the request back), on a healthy
 * bus well under a millisecond. Stopping waits at most 5 s for the capture worker.
 *
 * ## What must not go on
 *
 * A guide line that is on, a cooler with power, and a stream go on by themselves until the camera
 * is told otherwise. The requests that end them are repeated when they are lost, for up to 2.6 s,
 * and remembered until the camera has acknowledged them: they are sent again after the next request
 * that gets through, and when the camera is closed or the program ends. A program that is killed
 * cannot send them; OrvikOpenCamera() does, to whatever camera it opens. The end of a program takes
 * up to 5 s longer where a camera does not answer.
 */
#ifndef ORVIK_ORVIK_H
#define ORVIK_ORVIK_H

#include <stdint.h>

/** Version of the interface that this header describes: its first number. */
#define ORVIK_VERSION_MAJOR 0
#define ORVIK_VERSION_MINOR 1 /**< the second number of the version */
#define ORVIK_VERSION_PATCH 0 /**< the third number of the version */

/** Makes a function of the library visible to programs. */
#if defined(__GNUC__)
#define ORVIK_API __attribute__((visibility("default")))
#else
#define ORVIK_API
#endif

/** Every enumeration occupies 32 bits. C++ fixes the type, so that any number may be passed. */
#ifdef __cplusplus
#define ORVIK_INT32 : int32_t
extern "C" {
#else
#define ORVIK_INT32
#endif

/** A boolean of 32 bits; the library always writes exactly 0 or 1. */
typedef enum ORVIK_INT32 {
  Orvik_FALSE = 0, /**< no */
  Orvik_TRUE = 1,  /**< yes */
} Orvik_BOOL;

/** The result of every function. */
typedef enum ORVIK_INT32 {
  /** The call did what was asked. */
  Orvik_OK = 0,
  /** OrvikGetCameraProperty() only: no camera has this index. */
  Orvik_ERROR_INFO_INDEX = 1,
  /** Every other function: no camera has this index. */
  Orvik_ERROR_CAMERA_INDEX = 2,
  /** The control is unknown, or its value could not be read. */
  Orvik_ERROR_CONTROL = 3,
  /** The camera is not open, its model is unknown, or video could not be started or stopped. */
  Orvik_ERROR_NO_CAMERA_OBJECT = 4,
  /** The device could not be found or opened. */
  Orvik_ERROR_OPEN_FAILED = 5,
  /** The dark-frame file could not be opened. */
  Orvik_ERROR_DARK_FILE_PATH = 6,
  /** The dark-frame file is not an 8-bit bitmap of the sensor's full size. */
  Orvik_ERROR_DARK_FILE_FORMAT = 7,
  /** The camera refused width, height, bin and image type. */
  Orvik_ERROR_ROI_SIZE = 8,
  /** The image type is none of ::IMG_TYPE. */
  Orvik_ERROR_IMAGE_TYPE = 9,
  /** The camera refused the start position. */
  Orvik_ERROR_START_POS = 10,
  /** No frame came: not in time, or capture has ended, or the camera is gone, or it does not fit.
   */
  Orvik_ERROR_NO_FRAME = 11,
  /** Never returned; the value is kept free. */
  Orvik_ERROR_RESERVED_12 = 12,
  /** The buffer is smaller than an image of the present format. */
  Orvik_ERROR_BUFFER_SMALL = 13,
  /** A snapshot, or work that capture forbids, was asked for while video is running. */
  Orvik_ERROR_VIDEO_RUNNING = 14,
  /** Video, or work that capture forbids, was asked for while a snapshot is being exposed. */
  Orvik_ERROR_EXPOSING = 15,
  /** The camera did not do what was asked. */
  Orvik_ERROR_DRIVER_FAILED = 16,

  /* From here on: answered by the functions of orvik_service.h only. */
  /** A pointer is null, or a number outside the range that the function names. */
  Orvik_ERROR_ARGUMENT = 32,
  /** The camera has no dark frame, taken or loaded. */
  Orvik_ERROR_NO_DARK = 33,
  /** The camera has no table of hot pixels. */
  Orvik_ERROR_NO_TABLE = 34,
  /** The file cannot be read or written. */
  Orvik_ERROR_FILE = 35,
  /** The file is no firmware, is damaged, does not fit, or is for another kind of USB bridge. */
  Orvik_ERROR_FIRMWARE_IMAGE = 36,
  /** A sector of the flash could not be erased. */
  Orvik_ERROR_FLASH_ERASE = 37,
  /** What was read back from the camera is something else than what should be there. */
  Orvik_ERROR_VERIFY = 38,
  /** More hot pixels are marked than the camera's flash has room for. */
  Orvik_ERROR_TABLE_TOO_LARGE = 39,
  /** No camera that is plugged in has this serial number or port. */
  Orvik_ERROR_NO_DEVICE = 40,
  /** Several cameras that are plugged in have this serial number. */
  Orvik_ERROR_SEVERAL_DEVICES = 41,
  /** What was waited for did not happen in time. */
  Orvik_ERROR_TIMEOUT = 42,
  /** The system cannot do this. */
  Orvik_ERROR_NOT_SUPPORTED = 43,
} Orvik_ERROR_CODE;

/** A control of a camera. Which ones a camera offers: OrvikGetControlCaps(). */
typedef enum ORVIK_INT32 {
  /** Gain in the sensor's own steps. */
  Orvik_CTL_GAIN = 0,
  /** Exposure time in microseconds. A negative value counts as too long. */
  Orvik_CTL_EXPOSURE = 1,
  /** Gamma, 1 to 100; 50 is linear. */
  Orvik_CTL_GAMMA = 2,
  /** White balance, red, 1 to 99; 50 is neutral. */
  Orvik_CTL_WB_R = 3,
  /** White balance, blue, 1 to 99; 50 is neutral. */
  Orvik_CTL_WB_B = 4,
  /** Black level (offset) in the sensor's own steps. */
  Orvik_CTL_BRIGHTNESS = 5,
  /** Share of the USB bandwidth that the camera may use, percent. */
  Orvik_CTL_BANDWIDTH = 6,
  /** Over-clocking, percent above the normal clock. */
  Orvik_CTL_OVERCLK = 7,
  /** Sensor temperature in tenths of a degree Celsius; read only. It cannot be read when the camera
      has not told a valid one for 30 s. */
  Orvik_CTL_TEMPERATURE = 8,
  /** 0 none, 1 horizontal, 2 vertical, 3 both. */
  Orvik_CTL_FLIP = 9,
  /** Highest gain that automatic exposure may set. */
  Orvik_CTL_AUTO_EXP_MAX_GAIN = 10,
  /** Longest exposure that automatic exposure may set, seconds. */
  Orvik_CTL_AUTO_EXP_MAX_EXP = 11,
  /** Mean brightness that automatic exposure aims at, 0 to 255. */
  Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS = 12,
  /** 1 lets the camera bin, 0 bins on the host. */
  Orvik_CTL_HARDWARE_BIN = 13,
  /** 1 reads 8-bit frames out faster with fewer bits in the converter. */
  Orvik_CTL_HIGH_SPEED_MODE = 14,
  /** Cooler power that the camera acknowledged last, percent; read only. */
  Orvik_CTL_COOL_POWER_PERC = 15,
  /** Temperature that the cooler holds, degrees Celsius. Below -19 it holds -19, the coldest that
     it can measure reliably. */
  Orvik_CTL_TARGET_TEMP = 16,
  /** 1 regulates the temperature, 0 switches the cooler off. Without a valid temperature for 30 s
      regulation takes the power away until there is one; see OrvikGetCoolerStatus(). */
  Orvik_CTL_COOLER_ON = 17,
} Orvik_CONTROL_TYPE;

/** The pixel layout of a delivered image. Rows are packed, the top row comes first. */
typedef enum ORVIK_INT32 {
  /** End of a list of image types. */
  Orvik_IMG_END = -1,
  /** Raw sensor data (the colour mosaic on a colour camera), 1 byte a pixel. */
  Orvik_IMG_RAW8 = 0,
  /** Colour, 3 bytes a pixel: blue, green, red. */
  Orvik_IMG_RGB24 = 1,
  /** Raw sensor data, 2 bytes a pixel, little-endian, in the upper bits. */
  Orvik_IMG_RAW16 = 2,
  /** Luminance, 1 byte a pixel. */
  Orvik_IMG_Y8 = 3,
} IMG_TYPE;

/** The colours of the top left cell of 2 x 2 pixels of a colour sensor, read row by row. */
typedef enum ORVIK_INT32 {
  /** Red green / green blue; also reported by monochrome cameras. */
  BAYER_RG = 0,
  /** Blue green / green red. */
  BAYER_BG = 1,
  /** Green red / blue green. */
  BAYER_GR = 2,
  /** Green blue / red green. */
  BAYER_GB = 3,
} BayerPattern;

/** A line of the ST4 guide port. Which line moves the mount where is the camera's wiring. */
typedef enum ORVIK_INT32 {
  Orvik_GUIDE_DIR_0 = 0,
  Orvik_GUIDE_DIR_1 = 1,
  Orvik_GUIDE_DIR_2 = 2,
  Orvik_GUIDE_DIR_3 = 3,
} GuideD;

/** How a snapshot stands. */
typedef enum ORVIK_INT32 {
  /** No exposure, or it was stopped. */
  Orvik_EXPSTATE_NONE = 0,
  /** Exposing or reading out. */
  Orvik_EXPSTATE_EXPOSING = 1,
  /** The image waits for OrvikGetDataAfterExp(). */
  Orvik_EXPSTATE_READY = 2,
  /** The exposure or its readout failed. */
  Orvik_EXPSTATE_FAILED = 3,
} Orvik_EXPOSURE_STATUS;

/** What a camera is. Filled by OrvikGetCameraProperty(). */
typedef struct _Orvik_CAMERA_INFO {
  char name[64];          /**< display name of the model, zero-terminated */
  int32_t cameraIndex;    /**< the index that was asked about */
  int32_t maxHeight;      /**< sensor height, pixels */
  int32_t maxWidth;       /**< sensor width, pixels */
  Orvik_BOOL colour;      /**< 1 for a colour (mosaic) sensor */
  BayerPattern bayer;     /**< colour filter order at the sensor's top left */
  int32_t bins[16];       /**< supported bin factors; a 0 follows the last if fewer than 16 */
  IMG_TYPE imageTypes[8]; /**< supported types in the order RAW8, RGB24, Y8, RAW16, then -1 */
  double pixelSizeUm;     /**< pixel pitch, micrometres */
  Orvik_BOOL hasShutter;  /**< mechanical shutter: always 0 */
  Orvik_BOOL hasST4;      /**< guide port: always 1 */
  Orvik_BOOL hasCooler;   /**< 1 for a camera with a thermo-electric cooler */
  Orvik_BOOL usb3Host;    /**< 1 when the open camera reported that it sits on a USB 3 port */
  Orvik_BOOL usb3Camera;  /**< 1 for a model built for USB 3 */
} Orvik_CAMERA_INFO;

/** What a control is. Filled by OrvikGetControlCaps(). */
typedef struct _Orvik_CONTROL_CAPS {
  char name[64];                  /**< name of the control, zero-terminated */
  char description[128];          /**< one line of description, zero-terminated */
  int32_t maxValue;               /**< largest value */
  int32_t minValue;               /**< smallest value */
  int32_t defaultValue;           /**< value of a camera that has never been set */
  Orvik_BOOL autoSupported;       /**< 1 if the control has an automatic mode */
  Orvik_BOOL writable;            /**< 0 for a control that can only be read */
  Orvik_CONTROL_TYPE controlType; /**< which control this is */
} Orvik_CONTROL_CAPS;

/** A user's own mark of a camera, kept in the camera's flash. */
typedef struct _Orvik_ID {
  uint8_t id[32]; /**< bytes of the user's choice */
} Orvik_ID;

/** @addtogroup cameras Finding and opening cameras
 *  @{ */

/**
 * Looks for cameras and remembers them in order.
 *
 * Open cameras stay open, but their index can shift if devices came or went since.
 *
 * @return the number of connected cameras, 0 to 128; 0 also where the system has no USB.
 * @par Thread: controlling thread. Opens each camera's device shortly.
 */
ORVIK_API int OrvikGetNumOfConnectedCameras(void);

/**
 * Describes a camera, open or not.
 *
 * `usb3Host`, and of some models which variant `name` tells, are known only once the camera is
 * open. The camera is left as it was.
 *
 * @param info receives the description. Nothing is written past its last field.
 * @param index camera index. Note the order: here the record comes first.
 * @retval Orvik_ERROR_INFO_INDEX no such index, or `info` is null
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT the device is of an unknown model (`cameraIndex` is written)
 * @par Thread: controlling thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetCameraProperty(Orvik_CAMERA_INFO* info, int index);

/**
 * Opens a camera and prepares its sensor: guide lines, cooler and stream are off, whatever it was
 * doing. Opening an open camera does nothing.
 *
 * Enumerates first if that has not been done.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT the device is of an unknown model
 * @retval Orvik_ERROR_OPEN_FAILED the device is gone, not permitted, held by another program, or
 *         open in this process under a handle or another index
 * @par Thread: controlling thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikOpenCamera(int index);

/**
 * Stops capture, keeps the settings that have changed since they were last kept, and closes a
 * camera. Closing a closed camera does nothing.
 *
 * No other thread may be inside a call on this camera, with one exception: where a thread is at
 * work on the camera's flash or firmware (OrvikSetID(), OrvikFlashFirmware() and the like), closing
 * waits for its end, because an
 * interrupted write could leave the camera unusable. A camera that was unplugged is to be closed as
 * well.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index, since the last enumeration found fewer cameras; a
 *         camera that was opened under it has been closed all the same
 * @par Thread: controlling thread. Ends within 12 s even when the device does not answer; after the
 *      end of such work, by that function's own deadline, where there is any.
 */
ORVIK_API Orvik_ERROR_CODE OrvikCloseCamera(int index);

/** @}
 *  @addtogroup controls Controls and settings
 *  @{ */

/**
 * Tells how many controls a camera offers.
 *
 * @param count receives the number of controls
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_CONTROL `count` is null
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetNumOfControls(int index, int* count);

/**
 * Describes one control.
 *
 * @param controlIndex 0 to the number of controls - 1; not a control type
 * @param caps receives the description
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_CONTROL no such control index, or `caps` is null
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetControlCaps(int index, int controlIndex,
                                               Orvik_CONTROL_CAPS* caps);

/**
 * Reads a control.
 *
 * @param type which control; those the camera does not list can be read as well, but the cooler's
 *        only on a cooled camera
 * @param value receives the value, in the unit of ::Orvik_CONTROL_TYPE
 * @param isAuto receives whether the control is on automatic; 0 also when there is no such control
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_CONTROL no such control, or a pointer is null
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetControlValue(int index, Orvik_CONTROL_TYPE type, int32_t* value,
                                                Orvik_BOOL* isAuto);

/**
 * Sets a control.
 *
 * A value beyond the limits that OrvikGetControlCaps() tells sets the control to the nearest limit;
 * what was set can be read back. Two values have no nearest one: a negative exposure counts as too
 * long, and a flip that does not exist is ignored. Setting a read-only control succeeds and changes
 * nothing.
 *
 * What is on automatic moves while a video runs: exposure and gain towards the brightness of
 * #Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS, the white balance, of 8-bit frames only, towards grey. A
 * snapshot is taken with the values as they are.
 *
 * @param value the value, in the unit of ::Orvik_CONTROL_TYPE
 * @param isAuto exactly #Orvik_TRUE puts the control on automatic, starting from `value`
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_CONTROL no such control
 * @retval Orvik_ERROR_DRIVER_FAILED the camera did not take the value, does not have the control,
 *         or is unplugged. A cooler that is to be off is off with the next request that gets
 * through.
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSetControlValue(int index, Orvik_CONTROL_TYPE type, int32_t value,
                                                Orvik_BOOL isAuto);

/** @}
 *  @addtogroup format Image format
 *  @{ */

/**
 * Sets the size, bin and type of the delivered image, and centres the region on the sensor.
 *
 * On most models width must be a multiple of 4 and height even, and size times bin must lie within
 * the sensor. A capture that is running ends, and another of its kind begins with the new format;
 * what had been exposed in the former one is lost, except for the image of a snapshot that is
 * ready, which keeps its format until it is fetched. Who waits in OrvikGetVideoData() goes on
 * waiting.
 *
 * @param width, height size of the delivered image, pixels after binning
 * @param bin bin factor, one of the camera's `bins`
 * @param type pixel layout, one of the camera's `imageTypes`
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_IMAGE_TYPE `type` is none of ::IMG_TYPE
 * @retval Orvik_ERROR_ROI_SIZE the camera refused, and the region stays as it was, but of an 8-bit
 *         format it is remembered whether #Orvik_IMG_RAW8 or another type was asked for; or it is
 *         unplugged
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSetROIFormat(int index, int width, int height, int bin,
                                             IMG_TYPE type);

/**
 * Reads the size, bin and type of the images of the next capture. Before OrvikSetROIFormat() they
 * show the whole sensor.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_ROI_SIZE a pointer is null
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetROIFormat(int index, int* width, int* height, int* bin,
                                             IMG_TYPE* type);

/**
 * Moves the region on the sensor.
 *
 * The position is rounded down to what the sensor can do and kept within it; read it back with
 * OrvikGetStartPos().
 *
 * @param x, y top left corner of the region, pixels after binning
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_START_POS the camera refused, or is unplugged
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSetStartPos(int index, int x, int y);

/**
 * Reads the position of the region.
 *
 * @param x, y receive the top left corner, pixels after binning
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_START_POS a pointer is null
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetStartPos(int index, int* x, int* y);

/** @}
 *  @addtogroup capture Capture
 *  @{ */

/**
 * Tells how many frames of the running capture were lost: damaged on the way, or taken too late.
 *
 * The count starts again at 0 when capture ends, also when a new format begins another.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_DRIVER_FAILED `dropped` is null
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetDroppedFrames(int index, int* dropped);

/** @}
 *  @addtogroup corrections Corrections
 *  @{ */

/**
 * Loads a dark frame and subtracts it from 8-bit frames, or tells whether one is in use.
 *
 * What is subtracted is how far each pixel of the dark lies above or below the dark's mean: the
 * black level stays, its pattern goes. Images of more than 8 bits a sample stay as they are, and so
 * do those of automatic exposure below half a second.
 *
 * @param bmpPath 8-bit bitmap of the sensor's full size; may be null when only asking. Another run
 *        finds it again if it is absolute and has at most 255 bytes.
 * @param inUse in: non-zero loads the file, 0 only asks; out, when asked: whether one is in use
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_DARK_FILE_PATH the file cannot be opened, and no dark is in use any more; or
 * a pointer is null
 * @retval Orvik_ERROR_DARK_FILE_FORMAT not such a bitmap; the dark in use stays
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikEnableDarkSubtract(int index, char* bmpPath, Orvik_BOOL* inUse);

/**
 * Ends dark subtraction.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikDisableDarkSubtract(int index);

/** @}
 *  @addtogroup capture Capture
 *  @{ */

/**
 * Starts video: the camera sends frame after frame. Does nothing while video is running.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open, known to be unplugged, or capture could not be
 *         started, as while another thread is at work on the camera's flash or firmware
 * @retval Orvik_ERROR_EXPOSING a snapshot is being exposed
 * @par Thread: any thread, one at a time.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStartVideoCapture(int index);

/**
 * Stops video. A waiting OrvikGetVideoData() ends with #Orvik_ERROR_NO_FRAME.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open, or capture could not be stopped
 * @par Thread: any thread, one at a time. Ends within 5 s.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStopVideoCapture(int index);

/**
 * Delivers the oldest frame that waits, or the next to come.
 *
 * Two frames wait at most; a slow reader costs frames, never memory. An image is in the format that
 * was set when its capture began; OrvikGetFrameInfo() tells which it is, where formats change while
 * another thread reads.
 *
 * @param buffer receives the image
 * @param bufferSize size of `buffer` in bytes, at least that of one image
 * @param waitMs longest wait, milliseconds; 0 does not wait. A negative value has no limit: such a
 *        wait ends with a frame, a stop or an unplug, and at once where no capture is running. A
 *        good value is twice the exposure + 500 ms.
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_BUFFER_SMALL `bufferSize` is too small, or `buffer` is null
 * @retval Orvik_ERROR_NO_FRAME none came in time, or its image is larger than the buffer, and
 *         stays; the buffer is as it was. At once where the camera is known to be unplugged.
 *         OrvikGetNoFrameReason() (orvik_frames.h) tells why.
 * @par Thread: frame thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetVideoData(int index, unsigned char* buffer, int32_t bufferSize,
                                             int waitMs);

/**
 * Starts a snapshot: one exposure. Poll OrvikGetExpStatus(), then fetch the image with
 * OrvikGetDataAfterExp(). One that could not be started, as while another thread is at work on the
 * camera's flash or firmware, has the status #Orvik_EXPSTATE_FAILED at once.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * An image of the snapshot before that nobody has fetched is forgotten. A snapshot fails when it
 * cannot be started, when the camera is unplugged, and when the frames that came damaged are worth
 * more than a second of exposure; while automatic bandwidth looks for a pace that the link can
 * keep, in its first twenty seconds, those that made it lower the bandwidth do not count.
 *
 * @retval Orvik_ERROR_VIDEO_RUNNING capture is running
 * @par Thread: any thread, one at a time. Returns at once, except that a former capture may need up
 *      to 5 s to end.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStartExposure(int index);

/**
 * Aborts a snapshot, or forgets the image of one that is ready, and sets its status to
 * #Orvik_EXPSTATE_NONE.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @par Thread: any thread, one at a time. Ends within 5 s.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStopExposure(int index);

/**
 * Tells how a snapshot stands.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_DRIVER_FAILED `status` is null
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetExpStatus(int index, Orvik_EXPOSURE_STATUS* status);

/**
 * Delivers the image of a snapshot whose status is #Orvik_EXPSTATE_READY.
 *
 * Returns #Orvik_OK even when there is no image; then the buffer is as it was. Ask
 * OrvikGetExpStatus() first: where it says #Orvik_EXPSTATE_READY there is one, in the format that
 * was set when the snapshot was started.
 *
 * @param buffer receives the image
 * @param bufferSize size of `buffer` in bytes, at least that of one image
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_BUFFER_SMALL `bufferSize` is too small, or `buffer` is null
 * @retval Orvik_ERROR_NO_FRAME the image is larger than the buffer although the format that is set
 *         by now is not; it stays
 * @par Thread: frame thread. While the exposure is still going on, waits for its end.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetDataAfterExp(int index, unsigned char* buffer,
                                                int32_t bufferSize);

/** @}
 *  @addtogroup guide Guide port
 *  @{ */

/**
 * Switches a guide line on. It stays on until switched off; the caller times the pulse.
 *
 * A direction above 3 and a request that fails on the way are ignored. Lines that are on go off
 * when the camera is closed or the program ends; those that a killed program has left on, when the
 * camera is opened again.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikPulseGuideOn(int index, GuideD direction);

/**
 * Switches a guide line off. A request that is lost is repeated, and remembered until the camera
 * has acknowledged it. Otherwise as OrvikPulseGuideOn().
 *
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikPulseGuideOff(int index, GuideD direction);

/** @}
 *  @addtogroup identity Identity
 *  @{ */

/**
 * Reads the user's mark from the camera's flash.
 *
 * @param id receives the 32 bytes
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running, whose stream has the
 *         flash's bus
 * @retval Orvik_ERROR_DRIVER_FAILED there is none, it cannot be read, the camera is being closed,
 * or `id` is null
 * @par Thread: any thread. Capture does not start meanwhile.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetID(int index, Orvik_ID* id);

/**
 * Writes the user's mark into the camera's flash and verifies it.
 *
 * Takes about a second, and a minute at most when the flash does not answer as it should. Nothing
 * is erased before the camera has acknowledged that the flash has its bus; after a failure later
 * than that the camera may have no mark.
 *
 * @param id the 32 bytes, any values
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running, whose stream has the
 *         flash's bus
 * @retval Orvik_ERROR_DRIVER_FAILED the mark could not be written or verified, or the camera is
 *         being closed
 * @par Thread: any thread. Capture does not start meanwhile.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSetID(int index, Orvik_ID id);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ORVIK_ORVIK_H */
