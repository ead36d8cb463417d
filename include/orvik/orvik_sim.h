/* SPDX-License-Identifier: MIT */
/**
 * @file orvik_sim.h
 * Virtual cameras for programs that use orvik.h.
 *
 * Link with liborvik_sim as well, plug in a virtual camera, and use the functions of orvik.h as
 * with a real one: enumerate, open, capture. From the first OrvikSimPlug() on, the process sees
 * virtual cameras instead of the USB bus; OrvikSimUnplugAll() restores the bus.
 *
 * The environment variable ORVIK_SIM plugs virtual cameras into a program without these functions
 * (docs/environment.md). If it is set, OrvikSimPlug() adds to its cameras, or replaces them when it
 * is called before the program first looks for cameras; and OrvikSimUnplugAll() leaves the program
 * without cameras instead of restoring the bus.
 *
 * The settings of virtual cameras are separate from those of real ones, in
 * `orvik/virtual/settings.json` in the user's configuration folder.
 *
 * Valid C99 and C++. Every function may be called from any thread, also while a camera captures,
 * for example to test an unplug in the middle of a frame.
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

/** A virtual camera that is plugged in. */
typedef struct Orvik_SIM_CAMERA {
  int32_t id;          /**< number returned by OrvikSimPlug(), above 0 */
  char model[16];      /**< model code, for example "T15C" */
  char serial[16];     /**< serial number, eight hexadecimal digits */
  int32_t bus;         /**< USB bus number: 2 at SuperSpeed, else 1 */
  int32_t port;        /**< port number on the bus's root hub */
  int32_t address;     /**< device address on the bus */
  Orvik_BOOL usb3Port; /**< 1 on a USB 3 port */
} Orvik_SIM_CAMERA;

/**
 * Plugs in a virtual camera.
 *
 * A model code stands for one product. Models sold as several products have a code for each:
 *   - T01C, T08M, T14C, T15C
 *   - T02C, T03C, T03M, T09C, T10M: the plain product; T02C_A, T02C_B, ...: its variants
 *   - T06C, T06M; T06C_S, T06C_SC, T06M_S, T06M_SC
 *   - T04C, T05C, T07C: cooled cameras
 *   - T10C, T11C, T12C, T13C, and the cooled T10C_C, T10M_C, T11C_C, T12C_C, T13C_C
 *
 * T01C, T02C, T03C, T03M, T06C, T06M and T08M with their variants are USB 2 cameras, even on a USB
 * 3 port. OrvikSimModel() lists all codes.
 *
 * @param model model code, for example "T15C"
 * @param options comma-separated `key=value` pairs, or NULL or "" for the defaults:
 *   - `port=usb3|usb2` USB generation of the port (usb3)
 *   - `serial=HHHHHHHH` serial number, eight hexadecimal digits (derived from the id). It selects
 *     the sensor's hot pixels.
 *   - `seed=N` seed of sky and noise (1); two cameras with the same seed, serial and settings send
 *     the same images, unless one of them is given guide pulses or the sky changes with time
 *   - `scene=stars|moon|planet|grey|dark|gradient` object in front of the telescope (stars). The
 *     first three are moved and blurred by the options that follow; docs/virtual_cameras.md gives
 *     their formulae.
 *   - `drift=X:Y` how far the sky drifts over the sensor, to the right and down, in pixels per
 *     second, -100 to 100 (0:0)
 *   - `guide-rate=N` how far the sky moves while a line of the guide port is on, in pixels per
 *     second, 0 to 100 (8); 0: guide pulses move nothing. Lines 0 and 1 move it down and up, lines
 * 2 and 3 to the right and to the left.
 *   - `guide-angle=DEG` turns these directions, clockwise in the image, -360 to 360 (0)
 *   - `seeing=N` turbulence of the air: the width at half maximum of its blur in a long exposure,
 *     in pixels, 0 to 20 (0). Short exposures are sharper, and the object dances.
 *   - `focus=N` radius of the disc that defocus makes of a star, in pixels, -50 to 50 (0: in
 * focus); the sign tells the side of focus. `focus=A:B:S`: goes evenly from A to B in the S seconds
 * (0.1 to 86400) after the plugging, and stays there.
 *   - `pace=real|free` frames at the rate that follows from the camera's registers, or as fast as
 *     the host reads (real). At free pace a free-running camera repeats a few images made
 *     beforehand while the sky is at rest, and transfers take no time.
 *   - `link=bus|unlimited|N` capacity of the camera's link (bus): that of the bus, 40 MB/s for USB
 *     2 and 400 MB/s for USB 3, shared by all cameras on it; unlimited; or N MB/s, 1 to 1000. A
 *     camera that sends more than its link carries loses a part of its frames.
 *   - `latency=N` how long a control request takes, microseconds, 0 to 50000 (110)
 *   - `latch=frame|immediate` when a register takes effect in a video: with the next frame, or with
 *     the next row (frame)
 *   - `mode-change=finish|cut` what happens to the frame that is being read out when the timing of
 *     exposures changes from the sensor to the host or back: it arrives complete, or it is cut off
 *     (finish)
 *   - `clear-halt=discard|keep` whether clearing the bulk pipe discards the data that wait in the
 *     camera, and the rest of the frame (discard)
 *   - `light=F` brightness of the scene, 0.001 to 1000 times the normal one (1)
 *   - `colour=white|red|blue|R:G:B` colour of the light (white); R, G and B, from 0 to 1, are the
 *     remaining fractions of each colour
 *   - `ambient=C` temperature around the camera, degrees Celsius, -40 to 60 (20)
 *   - `fault=RULES` faults between the camera and the host, in the language of docs/faults.md;
 *     rules are separated by semicolons: "fault=bulk short every 10; any unplug at 500" (none)
 *   - `flash=FILE` stores the camera's flash (ID, hot pixels, firmware) in a file of 1 MiB, which
 *     is created if it is missing; a name without commas. Without this option the flash is empty
 *     each time the camera is plugged in.
 * @return the camera's id, above 0; or -1, and OrvikSimLastError() says why.
 */
ORVIK_API int OrvikSimPlug(const char* model, const char* options);

/**
 * Unplugs a virtual camera, whatever it is doing.
 *
 * @return 1, or 0 when no camera has this id.
 */
ORVIK_API int OrvikSimUnplug(int id);

/** Unplugs all virtual cameras and restores the USB bus. */
ORVIK_API void OrvikSimUnplugAll(void);

/**
 * Lists the virtual cameras that are plugged in, in the order of their ids.
 *
 * @param cameras receives up to `capacity` records; may be NULL when `capacity` is 0
 * @return the number of these cameras, which can be above `capacity`.
 */
ORVIK_API int OrvikSimList(Orvik_SIM_CAMERA* cameras, int capacity);

/**
 * Returns the code of a model that can be plugged in. To list all, call it with 0, 1, ... until it
 * returns NULL.
 *
 * @param position 0 to the number of models - 1
 * @return the model code, or NULL past the last one. The text stays valid.
 */
ORVIK_API const char* OrvikSimModel(int position);

/**
 * Returns why the last OrvikSimPlug() of this thread failed.
 *
 * @return one sentence, "" when it did not fail. The text is valid until this thread's next call.
 */
ORVIK_API const char* OrvikSimLastError(void);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ORVIK_ORVIK_SIM_H */
