/* SPDX-License-Identifier: MIT */
/**
 * @file orvik_settings.h
 * The settings that are stored between runs: saving, resetting and deleting them. Part of
 * orvik_service.h, whose rules apply here as well.
 */
#ifndef ORVIK_ORVIK_SETTINGS_H
#define ORVIK_ORVIK_SETTINGS_H

#include <stdint.h>

#include "orvik/orvik.h"

#ifdef __cplusplus
extern "C" {
#endif

/** @addtogroup controls Controls and settings
 *  @{ */

/** Where the settings of the user are stored. Filled by OrvikGetSettingsPlace(). */
typedef struct Orvik_SETTINGS_PLACE {
  char file[4096];  /**< the file, zero-terminated; "" if the user has no home, or the path does not
                         fit */
  int32_t obstacle; /**< 0 when settings can be saved, else the system's error number (errno) */
} Orvik_SETTINGS_PLACE;

/**
 * Saves the camera's settings now, as the end of a video does, and OrvikCloseCamera() if they have
 * changed. The camera has them when it is opened the next time, except that exposures above 0.1 s
 * become 0.1 s, and that a dark frame is restored only from a file with a path of at most 255
 * bytes.
 *
 * They are saved for this camera, if it has a serial number, and for its model. Another camera of
 * the model begins with its own settings; with those of the model as long as it has none, or if it
 * has no serial number.
 *
 * @retval Orvik_ERROR_FILE there is no place for them, or they cannot be written; see
 *         OrvikGetSettingsPlace()
 * @par Thread: any thread. Waits up to a second while another program saves.
 */
ORVIK_API Orvik_ERROR_CODE OrvikSaveSettings(int index);

/**
 * Sets all controls to the values that a new camera of the model has, and switches the subtraction
 * of a dark frame off. The cooler stays on if it is on, the table of hot pixels stays in use, and
 * so does the image format. The new settings are saved as any other change.
 *
 * @retval Orvik_ERROR_VIDEO_RUNNING, Orvik_ERROR_EXPOSING capture is running
 * @retval Orvik_ERROR_DRIVER_FAILED the camera did not acknowledge a setting
 * @par Thread: controlling thread. Takes as long as setting each control.
 */
ORVIK_API Orvik_ERROR_CODE OrvikResetSettings(int index);

/**
 * Deletes what is saved for this camera and for its model. The present settings are not changed;
 * they are saved again only when they change, or at the end of a video or an exposure.
 *
 * @retval Orvik_ERROR_FILE there is no place for settings, or they cannot be written
 * @par Thread: any thread. Waits up to a second while another program saves.
 */
ORVIK_API Orvik_ERROR_CODE OrvikForgetSettings(int index);

/**
 * Returns where the settings of cameras are stored, and what would prevent this user from writing
 * them. While the program uses virtual cameras, it is the place of theirs. Writes nothing, so a
 * full disk is not detected.
 *
 * @retval Orvik_ERROR_ARGUMENT `place` is null
 * @par Thread: any thread. Needs no camera.
 */
ORVIK_API Orvik_ERROR_CODE OrvikGetSettingsPlace(Orvik_SETTINGS_PLACE* place);

/** @} */

#ifdef __cplusplus
}
#endif

#endif /* ORVIK_ORVIK_SETTINGS_H */
