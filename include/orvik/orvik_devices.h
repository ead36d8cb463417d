/* SPDX-License-Identifier: MIT */
/**
 * @file orvik_devices.h
 * Cameras by identity instead of by position in a list: listing, opening by serial number or port,
 * handles, hot plug. Part of orvik_service.h, which includes it and whose rules apply.
 *
 * ## Identity, index and handle
 *
 * - A camera's *identity* is its serial number, or the port that it is plugged into. It is a text,
 *   the same in every program and after every restart.
 * - Its *index* is its position in the list that OrvikGetNumOfConnectedCameras() built last. An
 *   open camera keeps the index with which it was opened, as long as enumeration finds enough
 *   cameras; when devices are plugged or unplugged, other devices get other indices.
 * - Its *handle* is a number that it gets when it is opened, from #ORVIK_FIRST_HANDLE upwards. It
 *   refers to this camera until it is closed, regardless of hot plug and enumeration, and is never
 *   reused in the process.
 *
 * Every function that takes an index also takes a handle. With the handle of a camera that has been
 * closed, a function returns the same as with the index of a camera that is not open, and
 * OrvikOpenCamera() and OrvikGetCameraProperty() return #Orvik_ERROR_NO_CAMERA_OBJECT. With a
 * number that was never a handle, it returns the same as with an index that does not exist.
 *
 * Every open camera has a handle: OrvikOpenDevice() returns it, and OrvikGetHandle() returns that
 * of a camera that was opened by index. A camera that was opened by identity has no index. A camera
 * with both can be used and closed by either, and closing it invalidates both.
 *
 * A camera can be opened once in a process. OrvikOpenDevice() for a camera that is already open, by
 * index or identity, returns its handle. OrvikOpenCamera() for a camera that is open under a handle
 * or another index returns #Orvik_ERROR_OPEN_FAILED.
 */
#ifndef ORVIK_ORVIK_DEVICES_H
#define ORVIK_ORVIK_DEVICES_H

#include <stdint.h>

#include "orvik/orvik.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @addtogroup cameras Finding and opening cameras
 *  @{ */

/** The smallest handle; every index is below it. */
#define ORVIK_FIRST_HANDLE 0x10000

/** A camera that is plugged in. Filled by OrvikListDevices(). All texts are zero-terminated. */
typedef struct Orvik_DEVICE {
  /** Display name of the product; "" for one that the library does not support. */
  char name[64];
  /** Serial number; "" if the camera has none, or it cannot be read. */
  char serial[64];
  /** Port that it is plugged into: bus and ports from the root hub downwards, such as "2-1.4". */
  char port[40];
  /** Identity for OrvikOpenDevice(), which configurations should store: the serial number if it is
   * unique among the connected cameras, else the port. */
  char identity[64];
  int32_t vendorId;  /**< USB vendor ID */
  int32_t productId; /**< USB product ID */
  Orvik_BOOL isOpen; /**< 1 when it is open in this process */
  int32_t handle;    /**< its handle when it is open, else 0 */
} Orvik_DEVICE;

/**
 * Lists the cameras that are plugged in, in the order in which OrvikGetNumOfConnectedCameras()
 * would number them. Changes no index.
 *
 * Cameras are not disturbed: names come from the product IDs, and serial numbers from the system,
 * or from the camera's opening in this process. Only if neither knows it, a camera is opened to
 * read its serial number, once each time that it is plugged in; it is not claimed.
 *
 * @param devices receives up to `capacity` records; may be null when `capacity` is 0
 * @param capacity 0 or more
 * @param count receives the number of cameras, which can be above `capacity`
 * @retval Orvik_ERROR_ARGUMENT `count` is null, or `devices` while `capacity` is above 0
 * @retval Orvik_ERROR_DRIVER_FAILED out of memory
 * @par Thread: any thread. Returns at once; takes up to 2.1 s for each camera that has to be opened
 *      for its serial number and does not answer.
 */
ORVIK_API Orvik_ERROR_CODE OrvikListDevices(Orvik_DEVICE* devices, int capacity, int* count);

/**
 * Opens a camera by its identity and prepares its sensor, as OrvikOpenCamera() does. A camera that
 * is already open in this process is not changed, and its handle is returned.
 *
 * If another device takes the place of the device that was found, opening fails. Closing the handle
 * with OrvikCloseCamera() closes the camera for all users of the handle.
 *
 * @param identity serial number (not case-sensitive) or port, as in ::Orvik_DEVICE. A text that is
 *        the name of a port in use means the port.
 * @param handle receives the handle, #ORVIK_FIRST_HANDLE or above
 * @retval Orvik_ERROR_ARGUMENT a pointer is null, or `identity` is empty
 * @retval Orvik_ERROR_NO_DEVICE no camera that is plugged in has this serial number or port
 * @retval Orvik_ERROR_SEVERAL_DEVICES several have this serial number; open it by its port
 * @retval Orvik_ERROR_NO_CAMERA_OBJECT the device is of an unknown model
 * @retval Orvik_ERROR_OPEN_FAILED the device is gone, not permitted, or held by another program
 * @par Thread: controlling thread. Takes as long as OrvikOpenCamera().
 */
ORVIK_API Orvik_ERROR_CODE OrvikOpenDevice(const char* identity, int* handle);

/**
 * Returns the handle of an open camera.
 *
 * @param index index or handle of an open camera
 * @param handle receives the handle
 * @retval Orvik_ERROR_ARGUMENT `handle` is null
 * @par Thread: any thread. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetHandle(int index, int* handle);

/**
 * Waits until a camera is plugged in or unplugged. Call OrvikListDevices() afterwards.
 *
 * The library counts the changes, so that none is missed between two calls. The first call, with 0,
 * returns at once with the present count; list the cameras after it:
 *
 *     int32_t changes = 0;
 *     while (running) {
 *       if (OrvikWaitForDeviceChange(&changes, 1000) == Orvik_OK) updateList();
 *     }
 *
 * The count can also rise without a visible change, for example when a camera was unplugged and
 * plugged in again. Switching between the USB bus and virtual cameras counts as a change as well.
 *
 * @param changes in: the count from the last call, or 0; out: the present count, above 0
 * @param timeoutMs longest wait, milliseconds, 0 or more
 * @retval Orvik_ERROR_TIMEOUT nothing has changed
 * @retval Orvik_ERROR_NOT_SUPPORTED the system has no hot plug events: call OrvikListDevices()
 *         periodically. Returned at once.
 * @retval Orvik_ERROR_ARGUMENT `changes` is null, or `timeoutMs` is negative
 * @retval Orvik_ERROR_DRIVER_FAILED out of memory
 * @par Thread: any thread, several at a time. The library makes no callbacks.
 */
ORVIK_API Orvik_ERROR_CODE OrvikWaitForDeviceChange(int32_t* changes, int timeoutMs);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ORVIK_ORVIK_DEVICES_H */
