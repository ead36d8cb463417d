/* SPDX-License-Identifier: MIT */
/* What a C99 program sees of the installed library: it compiles, links, runs, and takes a frame. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "orvik/orvik.h"
#include "orvik/orvik_sim.h"

enum { kWidth = 640, kHeight = 480, kSize = kWidth * kHeight };

static int expect(int condition, const char* what) {
  if (!condition) fprintf(stderr, "failed: %s\n", what);
  return condition ? 0 : 1;
}

int main(void) {
  Orvik_CAMERA_INFO info;
  unsigned char* frame = malloc(kSize);
  int failures = 0;
  if (frame == NULL) return 2;
  memset(frame, 0, kSize);
  failures += expect(sizeof(Orvik_BOOL) == 4 && sizeof(IMG_TYPE) == 4, "enumerations of 32 bits");
  failures += expect(OrvikSimPlug("T15C", "scene=grey") > 0, "plug");
  failures += expect(OrvikGetNumOfConnectedCameras() == 1, "one camera");
  failures += expect(OrvikGetCameraProperty(&info, 0) == Orvik_OK, "property");
  failures += expect(strcmp(info.name, "Vek T15C") == 0, "name");
  failures += expect(OrvikOpenCamera(0) == Orvik_OK, "open");
  failures += expect(OrvikSetROIFormat(0, kWidth, kHeight, 1, Orvik_IMG_Y8) == Orvik_OK, "format");
  failures += expect(OrvikStartVideoCapture(0) == Orvik_OK, "start");
  failures += expect(OrvikGetVideoData(0, frame, kSize, 5000) == Orvik_OK, "frame");
  failures += expect(frame[kSize / 2] != 0, "light in the frame");
  failures += expect(OrvikStopVideoCapture(0) == Orvik_OK, "stop");
  failures += expect(OrvikCloseCamera(0) == Orvik_OK, "close");
  OrvikSimUnplugAll();
  free(frame);
  if (failures == 0) puts("a C99 program took a frame");
  return failures == 0 ? 0 : 1;
}
