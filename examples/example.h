/* SPDX-License-Identifier: MIT */
/* What the examples in C have in common: a camera to work with, and words for what goes wrong. */
#pragma once

#include <orvik/orvik_service.h>
#include <orvik/orvik_sim.h>
#include <stdio.h>

/* Whether a call succeeded; tells what went wrong if not. */
static inline int succeeded(Orvik_ERROR_CODE code, const char* doing) {
  if (code != Orvik_OK) fprintf(stderr, "%s: %s\n", doing, OrvikErrorText(code));
  return code == Orvik_OK;
}

/* Opens camera 0: the first on the USB bus, or a virtual one of `model` unless that is null.
 * Returns whether it is open. */
static inline int openCamera(const char* model) {
  if (model != NULL && OrvikSimPlug(model, "scene=stars") < 0) {
    fprintf(stderr, "%s\n", OrvikSimLastError());
    return 0;
  }
  if (OrvikGetNumOfConnectedCameras() == 0) {
    fprintf(stderr, "No camera found.\n");
    return 0;
  }
  return succeeded(OrvikOpenCamera(0), "opening the camera");
}
