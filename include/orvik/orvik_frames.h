/* SPDX-License-Identifier: MIT */
/**
 * @file orvik_frames.h
 * What a program can know of its images beyond their pixels: when and how each was exposed, why
 * none came, and how the camera reads out. Part of orvik_service.h, whose rules hold here as well.
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
 * What is known of one image: how it is laid out, when it was exposed, and with which settings.
 * Filled by OrvikGetFrameInfo().
 *
 * Times in nanoseconds are those of CLOCK_MONOTONIC; adding `utcOffset` makes nanoseconds since
 * 1970-01-01 00:00 UTC of them, by the computer's clock as it was set when the frame came.
 *
 * How exact they are: a frame is known to be complete when the thread that reads the camera has
 * been told so. `lastByte` is that moment, and `uncertainty` by how much the thread may have been
 * late, as far as it can know, and one line more; what the controller and the scheduler of a busy
 * computer add, usually well under a millisecond, is not known to it. `firstByte` is computed from
 * the time that a read-out takes, and the exposure from the settings; only exposures that the
 * library times itself, from 1 s on (T06C: 4 s), have a start and an end that were measured, each
 * later than true by the time of one request at most.
 *
 * The shutter rolls: start and end are those of the first row, each row below is exposed a line
 * time later, and the last one ends at `lastByte`.
 */
typedef struct Orvik_FRAME_INFO {
  int64_t capture;       /**< the capture that it comes from, counted from 1 since the opening */
  int64_t number;        /**< of the frame in its capture, from 0 on; lost frames are counted */
  int64_t lostBefore;    /**< frames lost between the frame that was kept before and this one */
  int64_t exposureStart; /**< ns */
  int64_t exposureEnd;   /**< ns */
  int64_t firstByte;     /**< ns; start of the read-out */
  int64_t lastByte;      /**< ns; the frame was complete */
  int64_t uncertainty;   /**< ns; the four above may be too late by so much */
  int64_t utcOffset;     /**< ns; to be added for UTC */
  int64_t exposureUs;    /**< exposure time, microseconds; shorter than was set where the exposure
                              was changed while it went on */
  int32_t width;         /**< of the image, pixels after binning */
  int32_t height;        /**< of the image, pixels after binning */
  int32_t bin;           /**< bin factor */
  IMG_TYPE type;         /**< pixel layout */
  int32_t startX;        /**< left edge of the region, sensor pixels */
  int32_t startY;        /**< top edge of the region, sensor pixels */
  int32_t flip;          /**< flips that the image has, as #Orvik_CTL_FLIP counts them */
  int32_t gain;          /**< as #Orvik_CTL_GAIN counts it */
  int32_t blackLevel;    /**< as #Orvik_CTL_BRIGHTNESS counts it */
  int32_t temperature;   /**< of the sensor, as it was read last, tenths of a degree Celsius;
                              #ORVIK_NO_TEMPERATURE where that is more than 30 s ago */
  Orvik_BOOL snapshot;   /**< 1 for a snapshot, 0 for a frame of a video */
  Orvik_BOOL settled;    /**< 1 when the settings were in effect for the whole exposure; 0 when one
                              was changed so shortly before or during it that the image may show
                              the one before, or both */
} Orvik_FRAME_INFO;

/** In Orvik_FRAME_INFO: the temperature is not known. */
#define ORVIK_NO_TEMPERATURE INT32_MIN

/** Why OrvikGetVideoData() or OrvikGetDataAfterExp() delivered no frame. */
typedef enum ORVIK_INT32 {
  /** The last call delivered a frame; or there was no call yet. */
  Orvik_NO_FRAME_NONE = 0,
  /** Capture is running, and no frame came within the wait time. */
  Orvik_NO_FRAME_TIMEOUT = 1,
  /** Capture was not running, or was stopped during the wait. */
  Orvik_NO_FRAME_STOPPED = 2,
  /** The camera was unplugged. Close it. */
  Orvik_NO_FRAME_UNPLUGGED = 3,
  /** The capture failed: the snapshot ended without an image, or could not be started. */
  Orvik_NO_FRAME_FAILED = 4,
  /** An image is there and stays, because it is larger than the buffer. */
  Orvik_NO_FRAME_TOO_LARGE = 5,
} Orvik_NO_FRAME_REASON;

/** How a camera reads out at present. Filled by OrvikGetReadoutInfo(). */
typedef struct Orvik_READOUT_INFO {
  int32_t converterBits; /**< bits of the converter in the present mode, 10 or 12; 0 where they are
                              not known. As many of the upper bits of a 16-bit sample are picture,
                              unless pixels were added up on the host. */
  int32_t frameBytes;    /**< bytes of one image in the format that is set */
  double frameRate;      /**< expected frames a second of a video with the present settings; 0 while
                              they are not known, before OrvikSetROIFormat(). What the host and its
                              USB bus achieve can be less. */
} Orvik_READOUT_INFO;

/**
 * Tells what is known of the image that OrvikGetVideoData() or OrvikGetDataAfterExp() delivered
 * last from this camera.
 *
 * An image keeps the format and the settings that it was taken with: what is set afterwards, even
 * before it is fetched, changes neither.
 *
 * @retval Orvik_ERROR_NO_FRAME no image has been delivered since the camera was opened
 * @par Thread: frame thread, so that no other image comes between. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetFrameInfo(int index, Orvik_FRAME_INFO* info);

/**
 * Tells why the last OrvikGetVideoData() or OrvikGetDataAfterExp() on this camera delivered no
 * frame. A call that was refused for its arguments does not count.
 *
 * @param reason receives the reason; #Orvik_NO_FRAME_NONE when a frame was delivered
 * @retval Orvik_ERROR_ARGUMENT `reason` is null
 * @par Thread: the frame thread, after its call. Returns at once.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetNoFrameReason(int index, Orvik_NO_FRAME_REASON* reason);

/**
 * Tells how the camera reads out with its present format, exposure, bandwidth and modes.
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
