/* SPDX-License-Identifier: MIT */
/* Tests the installed library from a C99 program: it compiles, links, runs, and takes a frame. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "orvik/orvik.h"
#include "orvik/orvik_service.h"
#include "orvik/orvik_sim.h"

enum { kWidth = 640, kHeight = 480, kPixels = kWidth * kHeight, kLargest = kPixels * 3 };

static int expect(int condition, const char* what) {
  if (!condition) fprintf(stderr, "failed: %s\n", what);
  return condition ? 0 : 1;
}

/* Takes one frame of an image type and checks that its centre is lit. */
static int takeFrame(IMG_TYPE type, int bytesPerPixel, unsigned char* frame) {
  const int32_t size = kPixels * bytesPerPixel;
  int failures = 0;
  memset(frame, 0, kLargest);
  failures += expect(OrvikSetROIFormat(0, kWidth, kHeight, 1, type) == Orvik_OK, "format");
  failures += expect(OrvikStartVideoCapture(0) == Orvik_OK, "start");
  failures += expect(OrvikGetVideoData(0, frame, size, 5000) == Orvik_OK, "frame");
  failures += expect(OrvikStopVideoCapture(0) == Orvik_OK, "stop");
  failures += expect(frame[size / 2 + 1] != 0, "light in the frame");
  return failures;
}

static int askVersion(void) {
  Orvik_FIRMWARE_VERSION version;
  return expect(OrvikGetFirmwareVersion(0, &version) == Orvik_OK, "version") +
         expect(version.firmware > 0, "firmware");
}

/* Identifies a camera as programs do that distinguish cameras. */
static int useIdentity(void) {
  Orvik_DEVICE device;
  int count = 0, handle = 0;
  return expect(OrvikListDevices(&device, 1, &count) == Orvik_OK && count == 1, "list") +
         expect(device.isOpen == Orvik_TRUE, "open here") +
         expect(OrvikOpenDevice(device.identity, &handle) == Orvik_OK, "open again") +
         expect(handle == device.handle && handle >= ORVIK_FIRST_HANDLE, "the same handle") +
         expect(strlen(OrvikErrorText(Orvik_ERROR_NO_FRAME)) > 0, "text");
}

int main(void) {
  Orvik_CAMERA_INFO info;
  unsigned char* frame = malloc(kLargest);
  int failures = 0;
  if (frame == NULL) return 2;
  failures += expect(sizeof(Orvik_BOOL) == 4 && sizeof(IMG_TYPE) == 4, "enumerations of 32 bits");
  failures += expect(OrvikSimPlug("T15C", "scene=grey") > 0, "plug");
  failures += expect(OrvikGetNumOfConnectedCameras() == 1, "one camera");
  failures += expect(OrvikGetCameraProperty(&info, 0) == Orvik_OK, "property");
  failures += expect(strcmp(info.name, "Vek T15C") == 0, "name");
  failures += expect(OrvikOpenCamera(0) == Orvik_OK, "open");
  failures += takeFrame(Orvik_IMG_RAW8, 1, frame);
  failures += takeFrame(Orvik_IMG_RGB24, 3, frame);
  failures += takeFrame(Orvik_IMG_RAW16, 2, frame);
  failures += takeFrame(Orvik_IMG_Y8, 1, frame);
  failures += askVersion();
  failures += useIdentity();
  failures += expect(OrvikCloseCamera(0) == Orvik_OK, "close");
  OrvikSimUnplugAll();
  free(frame);
  if (failures == 0) puts("a C99 program took a frame of every type");
  return failures == 0 ? 0 : 1;
}
