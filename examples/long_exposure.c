/* SPDX-License-Identifier: MIT */
/* A long exposure: a 16-bit snapshot, written as long_exposure.pgm. Ctrl-C ends it early.
 *
 *   long_exposure 30           30 seconds with the first camera on the USB bus
 *   long_exposure 30 T15C      with a virtual camera */
#define _POSIX_C_SOURCE 199309L /* nanosleep */
#include <signal.h>
#include <stdlib.h>
#include <time.h>

#include "example.h"

static volatile sig_atomic_t interrupted = 0;

static void onInterrupt(int number) {
  (void)number;
  interrupted = 1;
}

static void sleepMs(long milliseconds) {
  const struct timespec pause = {milliseconds / 1000, milliseconds % 1000 * 1000000};
  nanosleep(&pause, NULL);
}

/* Waits for the end of the exposure. Returns whether there is an image. */
static int waitForImage(void) {
  Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_EXPOSING;
  while (status == Orvik_EXPSTATE_EXPOSING && !interrupted) {
    sleepMs(50);
    if (!succeeded(OrvikGetExpStatus(0, &status), "asking for the status")) return 0;
  }
  if (status == Orvik_EXPSTATE_READY) return 1;
  OrvikStopExposure(0); /* cancels the exposure; harmless after a failure */
  fprintf(stderr, interrupted                            ? "Interrupted.\n"
                  : OrvikGetNumOfConnectedCameras() == 0 ? "The camera was unplugged.\n"
                                                         : "The exposure failed.\n");
  return 0;
}

/* Samples arrive low byte first; a 16-bit PGM file has the high byte first. */
static int writePgm16(const char* name, const unsigned char* samples, int width, int height) {
  const size_t count = (size_t)width * (size_t)height;
  FILE* file = fopen(name, "wb");
  int good = file != NULL && fprintf(file, "P5\n%d %d\n65535\n", width, height) > 0;
  for (size_t i = 0; good && i < count; ++i) {
    good = putc(samples[2 * i + 1], file) != EOF && putc(samples[2 * i], file) != EOF;
  }
  if (file != NULL && fclose(file) != 0) good = 0;
  if (!good) perror(name);
  return good;
}

static int expose(double seconds) {
  Orvik_CAMERA_INFO info;
  if (!succeeded(OrvikGetCameraProperty(&info, 0), "asking the camera")) return 0;
  const int32_t bytes = info.maxWidth * info.maxHeight * 2;
  unsigned char* samples = malloc((size_t)bytes);
  int good = samples != NULL;
  good = good && succeeded(OrvikSetROIFormat(0, info.maxWidth, info.maxHeight, 1, Orvik_IMG_RAW16),
                           "setting the format");
  good = good && succeeded(OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, (int32_t)(seconds * 1e6),
                                                Orvik_FALSE),
                           "setting the exposure");
  good = good && succeeded(OrvikStartExposure(0), "starting the exposure");
  good = good && waitForImage();
  good = good && succeeded(OrvikGetDataAfterExp(0, samples, bytes), "fetching the image");
  good = good && writePgm16("long_exposure.pgm", samples, info.maxWidth, info.maxHeight);
  if (good) printf("%s: %g s\n", info.name, seconds);
  free(samples);
  return good;
}

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? atof(argv[1]) : 0;
  if (!(seconds > 0 && seconds <= 1000)) {
    fprintf(stderr, "usage: long_exposure SECONDS [MODEL]\n");
    return EXIT_FAILURE;
  }
  signal(SIGINT, onInterrupt);
  if (!openCamera(argc > 2 ? argv[2] : NULL)) return EXIT_FAILURE;
  const int good = expose(seconds);
  OrvikCloseCamera(0);
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
