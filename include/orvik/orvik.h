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
 * enumerate before opening. Programs that distinguish cameras, or that run while cameras are
 * plugged or unplugged, should open them by serial number or port and use handles
 * (orvik_devices.h): every function accepts a handle instead of an index.
 *
 * ## Results
 *
 * Every function except OrvikGetNumOfConnectedCameras() returns an ::Orvik_ERROR_CODE, #Orvik_OK
 * (0) on success. Checks are made in this order: the index against the number of connected cameras
 * (#Orvik_ERROR_CAMERA_INDEX; only OrvikGetCameraProperty() returns #Orvik_ERROR_INFO_INDEX), then
 * whether the camera is open (#Orvik_ERROR_NO_CAMERA_OBJECT), then the function's own arguments. A
 * call that fails changes nothing and writes nothing through its pointers, unless its own
 * documentation says otherwise. A null pointer is refused with the error named in the function's
 * documentation. No function throws or ends the process. None prints, with three exceptions on
 * the standard error stream: a device with malformed descriptors, and the problems of a replay or
 * of virtual cameras that the environment requests.
 *
 * ## Environment
 *
 * The variable ORVIK_SIM, for example "T15C,scene=moon;T13C_C", gives the program virtual cameras
 * instead of the USB bus, ORVIK_REPLAY a recording; ORVIK_RECORD records all communication. If
 * ORVIK_SIM or ORVIK_REPLAY cannot be honoured, there are no cameras. docs/environment.md describes
 * them. Privileged programs ignore them.
 *
 * ## Unloading
 *
 * Once loaded, the library stays loaded: dlclose() does not affect it, its threads or the open
 * cameras. Close the cameras first.
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
 * Every call has a deadline. A request to the camera takes at most 1.6 s (500 ms, 50 ms after a
 * cancellation, and up to 1 s for a controller that does not return the request), on a healthy bus
 * well under a millisecond. Stopping waits at most 5 s for the capture worker.
 *
 * ## Safe requests
 *
 * A guide line that is on, a cooler with power, and a stream stay on until the camera receives a
 * request to switch them off. If such a request is lost, it is repeated for up to 2.6 s, and
 * remembered until the camera has acknowledged it: it is sent again after the next request that
 * succeeds, and when the camera is closed or the program exits. A program that is killed cannot
 * send them; OrvikOpenCamera() does, for every camera that it opens. If a camera does not answer,
 * the exit of a program takes up to 5 s longer.
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
  /** The call succeeded. */
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
  /** No frame: timeout, capture has ended, the camera is gone, or the image does not fit. */
  Orvik_ERROR_NO_FRAME = 11,
  /** Never returned; the value is kept free. */
  Orvik_ERROR_RESERVED_12 = 12,
  /** The buffer is smaller than an image of the present format. */
  Orvik_ERROR_BUFFER_SMALL = 13,
  /** A snapshot, or an operation that is not possible during capture, while video is running. */
  Orvik_ERROR_VIDEO_RUNNING = 14,
  /** Video, or an operation that is not possible during capture, while a snapshot is exposed. */
  Orvik_ERROR_EXPOSING = 15,
  /** The camera did not execute a request. */
  Orvik_ERROR_DRIVER_FAILED = 16,

  /* From here on: returned by the functions of orvik_service.h only. */
  /** A pointer is null, or a number is outside the documented range. */
  Orvik_ERROR_ARGUMENT = 32,
  /** The camera has no dark frame, recorded or loaded. */
  Orvik_ERROR_NO_DARK = 33,
  /** The camera has no table of hot pixels. */
  Orvik_ERROR_NO_TABLE = 34,
  /** The file cannot be read or written. */
  Orvik_ERROR_FILE = 35,
  /** The file is no firmware, is damaged, does not fit, or is for another kind of USB bridge. */
  Orvik_ERROR_FIRMWARE_IMAGE = 36,
  /** A sector of the flash could not be erased. */
  Orvik_ERROR_FLASH_ERASE = 37,
  /** The data read back from the camera differ from the expected ones. */
  Orvik_ERROR_VERIFY = 38,
  /** More hot pixels are marked than the camera's flash has room for. */
  Orvik_ERROR_TABLE_TOO_LARGE = 39,
  /** No camera that is plugged in has this serial number or port. */
  Orvik_ERROR_NO_DEVICE = 40,
  /** Several cameras that are plugged in have this serial number. */
  Orvik_ERROR_SEVERAL_DEVICES = 41,
  /** The awaited event did not happen before the timeout. */
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
  /** Sensor temperature in tenths of a degree Celsius; read only. It cannot be read when there has
      been no valid reading for 30 s. */
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
  /** 1 reads out 8-bit frames faster, with fewer bits in the converter. */
  Orvik_CTL_HIGH_SPEED_MODE = 14,
  /** Cooler power that the camera acknowledged last, percent; read only. */
  Orvik_CTL_COOL_POWER_PERC = 15,
  /** Temperature that the cooler holds, degrees Celsius. Below -19 it holds -19, the coldest that
     it can measure reliably. */
  Orvik_CTL_TARGET_TEMP = 16,
  /** 1 regulates the temperature, 0 switches the cooler off. Without a valid temperature for 30 s
      regulation switches off the power until there is one; see OrvikGetCoolerStatus(). */
  Orvik_CTL_COOLER_ON = 17,
} Orvik_CONTROL_TYPE;

/** The pixel layout of a delivered image. Rows are packed, the top row comes first. */
typedef enum ORVIK_INT32 {
  /** End of a list of image types. */
  Orvik_IMG_END = -1,
  /** Raw sensor data (the colour mosaic on a colour camera), 1 byte per pixel. */
  Orvik_IMG_RAW8 = 0,
  /** Colour, 3 bytes per pixel: blue, green, red. */
  Orvik_IMG_RGB24 = 1,
  /** Raw sensor data, 2 bytes per pixel, little-endian, in the upper bits. */
  Orvik_IMG_RAW16 = 2,
  /** Luminance, 1 byte per pixel. */
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

/** A line of the ST4 guide port. The wiring determines the direction in which it moves the mount.
 */
typedef enum ORVIK_INT32 {
  Orvik_GUIDE_DIR_0 = 0,
  Orvik_GUIDE_DIR_1 = 1,
  Orvik_GUIDE_DIR_2 = 2,
  Orvik_GUIDE_DIR_3 = 3,
} GuideD;

/** The status of a snapshot. */
typedef enum ORVIK_INT32 {
  /** No exposure, or it was stopped. */
  Orvik_EXPSTATE_NONE = 0,
  /** Exposing or reading out. */
  Orvik_EXPSTATE_EXPOSING = 1,
  /** The image waits for OrvikGetDataAfterExp(). */
  Orvik_EXPSTATE_READY = 2,
  /** The exposure or its read-out failed. */
  Orvik_EXPSTATE_FAILED = 3,
} Orvik_EXPOSURE_STATUS;

/** The properties of a camera. Filled by OrvikGetCameraProperty(). */
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
  Orvik_BOOL usb3Host;    /**< 1 when the open camera reported that it is at a USB 3 port */
  Orvik_BOOL usb3Camera;  /**< 1 for a model built for USB 3 */
} Orvik_CAMERA_INFO;

/** The properties of a control. Filled by OrvikGetControlCaps(). */
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

/** An ID that the user gives a camera, stored in the camera's flash. */
typedef struct _Orvik_ID {
  uint8_t id[32]; /**< bytes of the user's choice */
} Orvik_ID;

/** @addtogroup cameras Finding and opening cameras
 *  @{ */

/**
 * Searches for cameras and stores the list.
 *
 * Open cameras stay open, but their index can shift if devices have been plugged or unplugged.
 *
 * @return the number of connected cameras, 0 to 128; also 0 if the system has no USB.
 * @par Thread: controlling thread. Opens the device of each camera briefly.
 */
ORVIK_API int OrvikGetNumOfConnectedCameras(void);

/**
 * Describes a camera, open or not.
 *
 * `usb3Host`, and for some models the variant in `name`, are known only once the camera is open.
 * The state of the camera does not change.
 *
 * @param info receives the description. Nothing is written past its last field.
 * @param index camera index. Note the order: in this function the record comes first.
 * @retval Orvik_ERROR_INFO_INDEX no such index, or `info` is null
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT the device is of an unknown model (`cameraIndex` is written)
 * @par Thread: controlling thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetCameraProperty(Orvik_CAMERA_INFO* info, int index);

/**
 * Opens a camera and prepares its sensor; guide lines, cooler and stream are switched off. Opening
 * an open camera does nothing.
 *
 * Enumerates first if that has not been done.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT the device is of an unknown model
 * @retval Orvik_ERROR_OPEN_FAILED the device is gone, not permitted, used by another program, or
 *         open in this process under a handle or another index
 * @par Thread: controlling thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikOpenCamera(int index);

/**
 * Stops capture, saves the settings if they have changed since they were last saved, and closes a
 * camera. Closing a closed camera does nothing.
 *
 * No other thread may be inside a call on this camera, with one exception: if a thread works on the
 * camera's flash or firmware (OrvikSetID(), OrvikFlashFirmware() and similar functions), closing
 * waits for it, because an interrupted write could leave the camera unusable. A camera that was
 * unplugged must be closed as well.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index, because the last enumeration found fewer cameras;
 *         a camera that was opened under it has been closed all the same
 * @par Thread: controlling thread. Takes at most 12 s, even if the device does not answer, plus the
 *      wait for such work, which ends by the deadline of its own function.
 */
ORVIK_API Orvik_ERROR_CODE OrvikCloseCamera(int index);

/** @}
 *  @addtogroup controls Controls and settings
 *  @{ */

/**
 * Returns how many controls a camera offers.
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
 * @param type which control; those that the camera does not list can be read as well, except that
 *        those of the cooler exist only on a cooled camera
 * @param value receives the value, in the unit of ::Orvik_CONTROL_TYPE
 * @param isAuto receives whether the control is automatic; 0 also when there is no such control
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
 * A value beyond the limits that OrvikGetControlCaps() returns sets the control to the nearest
 * limit; the actual value can be read back. There are two exceptions: a negative exposure counts as
 * too long, and a flip that does not exist is ignored. Setting a read-only control succeeds and
 * changes nothing.
 *
 * Automatic controls change while a video runs: exposure and gain, until the brightness is that of
 * #Orvik_CTL_AUTO_EXP_MAX_BRIGHTNESS, and white balance, with 8-bit frames only, until the mean
 * colour is grey. A snapshot is taken with the present values.
 *
 * @param value the value, in the unit of ::Orvik_CONTROL_TYPE
 * @param isAuto exactly #Orvik_TRUE makes the control automatic, starting from `value`
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_CONTROL no such control
 * @retval Orvik_ERROR_DRIVER_FAILED the camera did not accept the value, does not have the control,
 *         or is unplugged. If switching off the cooler fails, it is repeated after the next request
 *         that succeeds.
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
 * Width must be a multiple of 4 and height even, and size times bin must lie within the sensor. A
 * running capture is restarted with the new format; frames exposed before are lost, except the
 * image of a snapshot that is ready, which keeps its format until it is fetched. A waiting
 * OrvikGetVideoData() goes on waiting.
 *
 * @param width, height size of the delivered image, pixels after binning
 * @param bin bin factor, one of the camera's `bins`
 * @param type pixel layout, one of the camera's `imageTypes`
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_IMAGE_TYPE `type` is none of ::IMG_TYPE
 * @retval Orvik_ERROR_ROI_SIZE the camera is unplugged, or it refused the format. The region is
 *         then unchanged, but later 8-bit images are #Orvik_IMG_RAW8 if and only if `type` was
 *         that.
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
 * The position is rounded down to one that the sensor supports and limited to the sensor; read it
 * back with OrvikGetStartPos().
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
 * Returns how many frames of the running capture were lost: damaged in transfer, or fetched too
 * late.
 *
 * The count is reset to 0 when capture ends, also when a new format restarts it.
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
 * Loads a dark frame and subtracts it from 8-bit frames, or returns whether one is in use.
 *
 * The difference between each pixel of the dark frame and its mean is subtracted: the pattern is
 * removed, the black level stays. Images with more than 8 bits per sample are not corrected, nor
 * are those with automatic exposure below half a second.
 *
 * @param bmpPath 8-bit bitmap of the sensor's full size; may be null for a query. If it is absolute
 *        and has at most 255 bytes, the file is found again the next time the program runs.
 * @param inUse in: non-zero loads the file, 0 is a query; out, for a query: whether one is in use
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_DARK_FILE_PATH the file cannot be opened, and no dark frame is in use any
 *         more; or a pointer is null
 * @retval Orvik_ERROR_DARK_FILE_FORMAT not such a bitmap; the present dark frame stays in use
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
 * Starts video: the camera sends frames continuously. Does nothing while video is running.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open, known to be unplugged, or capture could not be
 *         started, for example while another thread works on the camera's flash or firmware
 * @retval Orvik_ERROR_EXPOSING a snapshot is being exposed
 * @par Thread: any thread, one at a time.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStartVideoCapture(int index);

/**
 * Stops video. A waiting OrvikGetVideoData() ends with #Orvik_ERROR_NO_FRAME.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open, or capture could not be stopped
 * @par Thread: any thread, one at a time. Takes at most 5 s.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStopVideoCapture(int index);

/**
 * Delivers the oldest frame in the queue, or waits for the next one.
 *
 * The queue has two frames at most; a slow reader loses frames, but needs no more memory. An image
 * has the format that was set when its capture began; if another thread changes formats,
 * OrvikGetFrameInfo() returns which one it is.
 *
 * @param buffer receives the image
 * @param bufferSize size of `buffer` in bytes, at least that of one image
 * @param waitMs longest wait, milliseconds; 0 does not wait. With a negative value there is no
 *        limit: the wait ends with a frame, a stop or an unplug, and at once if no capture is
 *        running. A good value is twice the exposure + 500 ms.
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_BUFFER_SMALL `bufferSize` is too small, or `buffer` is null
 * @retval Orvik_ERROR_NO_FRAME none arrived in time, or its image is larger than the buffer and
 *         stays in the queue; the buffer is unchanged. Returned at once if the camera is known to
 *         be unplugged. OrvikGetNoFrameReason() (orvik_frames.h) returns the reason.
 * @par Thread: frame thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetVideoData(int index, unsigned char* buffer, int32_t bufferSize,
                                             int waitMs);

/**
 * Starts a snapshot: one exposure. Poll OrvikGetExpStatus(), then fetch the image with
 * OrvikGetDataAfterExp(). If the snapshot cannot be started, for example while another thread works
 * on the camera's flash or firmware, its status is #Orvik_EXPSTATE_FAILED at once.
 *
 * If the image of the previous snapshot has not been fetched, it is dropped. A snapshot fails when
 * it cannot be started, when the camera is unplugged, or when the damaged frames amount to more
 * than a second of exposure. During the first twenty seconds of automatic bandwidth, damaged frames
 * that it has counted as a group of three do not count.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_VIDEO_RUNNING capture is running
 * @par Thread: any thread, one at a time. Returns at once, except that a previous capture may need
 *      up to 5 s to end.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStartExposure(int index);

/**
 * Aborts a snapshot, or drops the image of one that is ready, and sets its status to
 * #Orvik_EXPSTATE_NONE.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @par Thread: any thread, one at a time. Takes at most 5 s.
 */
ORVIK_API Orvik_ERROR_CODE OrvikStopExposure(int index);

/**
 * Returns the status of a snapshot.
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
 * Returns #Orvik_OK even when there is no image; the buffer is then unchanged. Call
 * OrvikGetExpStatus() first: with #Orvik_EXPSTATE_READY there is an image, in the format that was
 * set when the snapshot was started.
 *
 * @param buffer receives the image
 * @param bufferSize size of `buffer` in bytes, at least that of one image
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_BUFFER_SMALL `bufferSize` is too small, or `buffer` is null
 * @retval Orvik_ERROR_NO_FRAME the image is larger than the buffer, although an image of the
 *         present format is not; it stays in the queue
 * @par Thread: frame thread. During the exposure, waits for its end.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetDataAfterExp(int index, unsigned char* buffer,
                                                int32_t bufferSize);

/** @}
 *  @addtogroup guide Guide port
 *  @{ */

/**
 * Switches a guide line on. It stays on until switched off; the caller times the pulse.
 *
 * A direction above 3 and a failed request are ignored. Lines that are on are switched off when the
 * camera is closed or the program exits; after a program was killed, when the camera is opened
 * again.
 *
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikPulseGuideOn(int index, GuideD direction);

/**
 * Switches a guide line off. A lost request is repeated, and remembered until the camera has
 * acknowledged it. Otherwise the same as OrvikPulseGuideOn().
 *
 * @par Thread: any thread.
 */
ORVIK_API Orvik_ERROR_CODE OrvikPulseGuideOff(int index, GuideD direction);

/** @}
 *  @addtogroup identity Identity
 *  @{ */

/**
 * Reads the ID from the camera's flash.
 *
 * @param id receives the 32 bytes
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running, and its stream has
 *         the bus of the flash
 * @retval Orvik_ERROR_DRIVER_FAILED there is none, it cannot be read, the camera is being closed,
 *         or `id` is null
 * @par Thread: any thread. Capture cannot be started meanwhile.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetID(int index, Orvik_ID* id);

/**
 * Writes the ID to the camera's flash and verifies it.
 *
 * Takes about a second, or up to a minute if the flash does not answer properly. Nothing is erased
 * before the camera has acknowledged that the flash has the bus; after a later failure the camera
 * may have no ID.
 *
 * @param id the 32 bytes, any values
 * @retval Orvik_ERROR_CAMERA_INDEX no such index
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT not open
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running, and its stream has
 *         the bus of the flash
 * @retval Orvik_ERROR_DRIVER_FAILED the ID could not be written or verified, or the camera is being
 *         closed
 * @par Thread: any thread. Capture cannot be started meanwhile.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSetID(int index, Orvik_ID id);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ORVIK_ORVIK_H */
