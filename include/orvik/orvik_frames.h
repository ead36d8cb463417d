/* SPDX-License-Identifier: MIT */
/**
 * @file orvik_frames.h
 * Information about images beyond their pixels: when and how each was exposed, why there is none,
 * and how the camera reads out. Part of orvik_service.h, whose rules apply here as well.
 */
#ifndef ORVIK_ORVIK_FRAMES_H
#define ORVIK_ORVIK_FRAMES_H

#include <stdint.h>

#include "orvik/orvik.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @addtogroup capture Capture
 *  @{ */

/**
 * The facts about one image: its layout, when it was exposed, and with which settings. Filled by
 * OrvikGetFrameInfo().
 *
 * Times in nanoseconds are those of CLOCK_MONOTONIC; adding `utcOffset` converts them to
 * nanoseconds since 1970-01-01 00:00 UTC, according to the computer's clock when the frame arrived.
 *
 * Accuracy: `lastByte` is the time at which the thread that reads the camera has found the frame to
 * be complete. `uncertainty` is how late the thread may have been, as far as it can know, plus one
 * line time. Delays by the controller and the scheduler of a busy computer, usually well under a
 * millisecond, are not included. `firstByte` is computed from the duration of a read-out, and the
 * exposure times from the settings. Only for exposures that the library times itself, from 1 s on
 * (T06C: 4 s), start and end are measured; each is late by at most the time of one request.
 *
 * The shutter is a rolling one: start and end are those of the first row, each following row is
 * exposed one line time later, and the last one ends at `lastByte`.
 */
typedef struct Orvik_FRAME_INFO {
  int64_t capture;       /**< number of its capture, counted from 1 since the opening */
  int64_t number;        /**< of the frame in its capture, from 0 on; lost frames are counted */
  int64_t lostBefore;    /**< frames lost between the previous kept frame and this one */
  int64_t exposureStart; /**< ns */
  int64_t exposureEnd;   /**< ns */
  int64_t firstByte;     /**< ns; start of the read-out */
  int64_t lastByte;      /**< ns; the frame was complete */
  int64_t uncertainty;   /**< ns; the four times above may be late by up to this time */
  int64_t utcOffset;     /**< ns; to be added for UTC */
  int64_t exposureUs;    /**< exposure time, microseconds; shorter than set if the exposure was
                              changed while it was going on */
  int32_t width;         /**< of the image, pixels after binning */
  int32_t height;        /**< of the image, pixels after binning */
  int32_t bin;           /**< bin factor */
  IMG_TYPE type;         /**< pixel layout */
  int32_t startX;        /**< left edge of the region, sensor pixels */
  int32_t startY;        /**< top edge of the region, sensor pixels */
  int32_t flip;          /**< flips of the image, in the values of #Orvik_CTL_FLIP */
  int32_t gain;          /**< in the unit of #Orvik_CTL_GAIN */
  int32_t blackLevel;    /**< in the unit of #Orvik_CTL_BRIGHTNESS */
  int32_t temperature;   /**< last reading of the sensor, tenths of a degree Celsius;
                              #ORVIK_NO_TEMPERATURE if it is more than 30 s old */
  Orvik_BOOL snapshot;   /**< 1 for a snapshot, 0 for a frame of a video */
  Orvik_BOOL settled;    /**< 1 when the settings were in effect for the whole exposure; 0 when one
                              was changed during the exposure or so shortly before it that the
                              image may show the former value, or both */
} Orvik_FRAME_INFO;

/** In Orvik_FRAME_INFO: the temperature is unknown. */
#define ORVIK_NO_TEMPERATURE INT32_MIN

/** Why OrvikGetVideoData() or OrvikGetDataAfterExp() delivered no frame. */
typedef enum ORVIK_INT32 {
  /** The last call delivered a frame, or there was no call yet. */
  Orvik_NO_FRAME_NONE = 0,
  /** Capture is running, and no frame arrived within the wait time. */
  Orvik_NO_FRAME_TIMEOUT = 1,
  /** Capture was not running, or was stopped during the wait. */
  Orvik_NO_FRAME_STOPPED = 2,
  /** The camera was unplugged. Close it. */
  Orvik_NO_FRAME_UNPLUGGED = 3,
  /** The capture failed: the snapshot ended without an image, or could not be started. */
  Orvik_NO_FRAME_FAILED = 4,
  /** There is an image, but it is larger than the buffer. It stays queued. */
  Orvik_NO_FRAME_TOO_LARGE = 5,
} Orvik_NO_FRAME_REASON;

/** How a camera reads out at present. Filled by OrvikGetReadoutInfo(). */
typedef struct Orvik_READOUT_INFO {
  int32_t converterBits; /**< bits of the converter in the present mode, 10 or 12; 0 if unknown.
                              As many of the upper bits of a 16-bit sample are significant, unless
                              pixels were added up on the host. */
  int32_t frameBytes;    /**< bytes of one image in the present format */
  double frameRate;      /**< expected frames per second of a video with the present settings; 0 if
                              unknown, before OrvikSetROIFormat(). The host and its USB bus may
                              achieve less. */
} Orvik_READOUT_INFO;

/**
 * Returns the facts about the image that OrvikGetVideoData() or OrvikGetDataAfterExp() delivered
 * last from this camera.
 *
 * An image keeps the format and the settings that it was taken with; later changes, even before it
 * is fetched, do not affect them.
 *
 * @retval Orvik_ERROR_NO_FRAME no image has been delivered since the camera was opened
 * @par Thread: frame thread, so that no other image is delivered in between. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetFrameInfo(int index, Orvik_FRAME_INFO* info);

/**
 * Returns why the last OrvikGetVideoData() or OrvikGetDataAfterExp() on this camera delivered no
 * frame. A call that failed because of its arguments does not count.
 *
 * @param reason receives the reason; #Orvik_NO_FRAME_NONE when a frame was delivered
 * @retval Orvik_ERROR_ARGUMENT `reason` is null
 * @par Thread: frame thread, after its call. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetNoFrameReason(int index, Orvik_NO_FRAME_REASON* reason);

/**
 * Describes the read-out with the present format, exposure, bandwidth and modes.
 *
 * @retval Orvik_ERROR_ARGUMENT `info` is null
 * @par Thread: any thread. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetReadoutInfo(int index, Orvik_READOUT_INFO* info);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ORVIK_ORVIK_FRAMES_H */
