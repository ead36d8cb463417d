/* SPDX-License-Identifier: MIT */
/* Common parts of the examples in C: opening a camera, and error messages. */
#pragma once

#include <orvik/orvik_service.h>
#include <orvik/orvik_sim.h>
#include <stdio.h>

/* Returns whether a call succeeded; prints the error if not. */
static inline int succeeded(Orvik_ERROR_CODE code, const char* doing) {
  if (code != Orvik_OK) fprintf(stderr, "%s: %s\n", doing, OrvikErrorText(code));
  return code == Orvik_OK;
}

/* Opens camera 0: the first on the USB bus, or a virtual one of `model`, with the options of
 * OrvikSimPlug(), unless that is null. Returns whether it is open. */
static inline int openCameraWith(const char* model, const char* options) {
  if (model != NULL && OrvikSimPlug(model, options) < 0) {
    fprintf(stderr, "%s\n", OrvikSimLastError());
    return 0;
  }
  if (OrvikGetNumOfConnectedCameras() == 0) {
    fprintf(stderr, "No camera found.\n");
    return 0;
  }
  return succeeded(OrvikOpenCamera(0), "opening the camera");
}

/* The same, with a virtual camera that sees stars. */
static inline int openCamera(const char* model) { return openCameraWith(model, "scene=stars"); }
