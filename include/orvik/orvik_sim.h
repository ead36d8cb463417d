/* SPDX-License-Identifier: MIT */
/**
 * @file orvik_sim.h
 * Virtual cameras for programs that use orvik.h.
 *
 * Link with liborvik_sim as well, plug a virtual camera, and use the functions of orvik.h as with a
 * real one: enumerate, open, capture. From the first plug on the process sees virtual cameras
 * instead of the USB bus; unplugging the last one with OrvikSimUnplugAll() brings the bus back.
 *
 * The settings of virtual cameras are kept apart from those of real ones, in
 * `orvik/virtual/settings.json` in the user's folder for configurations.
 *
 * Valid C99 and C++. Every function may be called from any thread, also while a camera captures:
 * that is how an unplug in mid-frame is tried out.
 */
#ifndef ORVIK_ORVIK_SIM_H
#define ORVIK_ORVIK_SIM_H

#include <stdint.h>

#include "orvik/orvik.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @addtogroup virtual Virtual cameras
 *  @{ */

/** One plugged virtual camera. */
typedef struct Orvik_SIM_CAMERA {
  int32_t id;          /**< number given by OrvikSimPlug(), above 0 */
  char model[16];      /**< model code, for example "T15C" */
  char serial[16];     /**< serial number, eight hexadecimal digits */
  int32_t bus;         /**< USB bus number: 2 at SuperSpeed, else 1 */
  int32_t port;        /**< port number on the bus's root hub */
  int32_t address;     /**< device address on the bus */
  Orvik_BOOL usb3Port; /**< 1 on a USB 3 port */
} Orvik_SIM_CAMERA;

/**
 * Plugs a virtual camera in.
 *
 * A model code names one product. Models sold as several products have a code for each:
 *   - T01C, T08M, T14C, T15C
 *   - T02C, T03C, T03M, T09C, T10M: the plain product; T02C_A, T02C_B, ...: its variants
 *   - T06C, T06M; T06C_S, T06C_SC, T06M_S, T06M_SC
 *   - T04C, T05C, T07C: cooled cameras
 *   - T10C, T11C, T12C, T13C, and the cooled T10C_C, T10M_C, T11C_C, T12C_C, T13C_C
 *
 * T01C, T02C, T03C, T03M, T06C, T06M and T08M with their variants are cameras of USB 2, on a USB 3
 * port as well. OrvikSimModel() lists all codes.
 *
 * @param model model code, for example "T15C"
 * @param options comma-separated `key=value` pairs, or NULL or "" for the defaults:
 *   - `port=usb3|usb2` the port's generation (usb3)
 *   - `serial=HHHHHHHH` serial number, eight hexadecimal digits (derived from the id). It selects
 *     the sensor's hot pixels.
 *   - `seed=N` seed of sky and noise (1); two cameras of the same seed, serial and settings send
 *     the same pictures
 *   - `scene=stars|moon|planet|grey|dark|gradient` what the telescope looks at (stars)
 *   - `pace=real|free` frames in the time that the camera's registers ask for, or as fast as the
 *     host asks (real). At free pace a free-running camera repeats a few pictures made beforehand,
 *     and nothing takes time on the link.
 *   - `link=bus|unlimited|N` what the camera's link carries (bus): the rate of the bus, 40 MB/s of
 *     USB 2 and 400 MB/s of USB 3, which all cameras on it share; anything; or N MB/s at most, 1
 *     to 1000. A camera that sends more than its link carries loses a part of its frames.
 *   - `latency=N` how long a control request takes, microseconds, 0 to 50000 (110)
 *   - `latch=frame|immediate` when a register takes effect in a video: with the next frame, or with
 *     the next row (frame)
 *   - `mode-change=finish|cut` what becomes of the frame that is read out when exposures change
 *     from the sensor's own timing to the host's or back: it comes whole, or not at all (finish)
 *   - `clear-halt=discard|keep` whether clearing the bulk pipe throws away what waits in the
 * camera, and the rest of the frame (discard)
 *   - `light=F` brightness of the scene, 0.001 to 1000 times the normal one (1)
 *   - `colour=white|red|blue|R:G:B` colour of the light (white); R, G and B, from 0 to 1, are the
 *     shares of it that are left in each colour
 *   - `ambient=C` temperature around the camera, degrees Celsius, -40 to 60 (20)
 *   - `fault=RULES` what goes wrong between the camera and the host, in the language of
 *     docs/faults.md; rules are separated by semicolons: "fault=bulk short every 10; any unplug at
 *     500" (none)
 *   - `flash=FILE` keeps the camera's flash (identity, hot pixels, firmware) in a file of 1 MiB,
 *     which is made where there is none; a name without commas. Without it the flash is erased
 *     each time the camera is plugged.
 * @return the camera's id, above 0; or -1, and OrvikSimLastError() tells why.
 */
ORVIK_API int OrvikSimPlug(const char* model, const char* options);

/**
 * Pulls a virtual camera out, whatever it is doing.
 *
 * @return 1, or 0 when no camera has this id.
 */
ORVIK_API int OrvikSimUnplug(int id);

/** Pulls all virtual cameras out and gives the process its USB bus back. */
ORVIK_API void OrvikSimUnplugAll(void);

/**
 * Lists the plugged virtual cameras in the order of their ids.
 *
 * @param cameras receives up to `capacity` records; may be NULL when `capacity` is 0
 * @return the number of plugged cameras, which can be above `capacity`.
 */
ORVIK_API int OrvikSimList(Orvik_SIM_CAMERA* cameras, int capacity);

/**
 * Names a model that can be plugged. Calling it with 0, 1, ... until it answers NULL lists all.
 *
 * @param position 0 to the number of models - 1
 * @return the model code, or NULL past the last one. The text lives as long as the program.
 */
ORVIK_API const char* OrvikSimModel(int position);

/**
 * Tells why the last OrvikSimPlug() of this thread failed.
 *
 * @return one sentence, "" when it did not fail. The text lives until this thread's next call.
 */
ORVIK_API const char* OrvikSimLastError(void);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ORVIK_ORVIK_SIM_H */
