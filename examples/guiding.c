/* SPDX-License-Identifier: MIT */
/* The first step of guiding: gives a pulse on each line of the guide port, and measures how far the
 * brightest star moved on the sensor. This tells a guider in which direction a line moves the
 * mount.
 *
 *   guiding 500          pulses of 500 ms with the first camera on the USB bus
 *   guiding 500 T15C     with a virtual camera, whose stars stand still */
#include <orvik/orvik_service.h>
#include <stdlib.h>

#include "example.h"

enum { kWidth = 640, kHeight = 480, kReach = 8, kLines = 4, kSkippedFrames = 2 };

typedef struct Star {
  double x, y; /* pixels from the top left */
} Star;

/* The centre of light around the brightest pixel. */
static Star findStar(const unsigned char* pixels) {
  int brightest = 0;
  for (int i = 1; i < kWidth * kHeight; ++i) {
    if (pixels[i] > pixels[brightest]) brightest = i;
  }
  const int x0 = brightest % kWidth, y0 = brightest / kWidth;
  double light = 0, sumX = 0, sumY = 0;
  for (int y = y0 - kReach; y <= y0 + kReach; ++y) {
    for (int x = x0 - kReach; x <= x0 + kReach; ++x) {
      if (x < 0 || y < 0 || x >= kWidth || y >= kHeight) continue;
      /* Half of the peak is subtracted, so that the sky around the star has no weight. */
      const double weight = pixels[y * kWidth + x] - pixels[brightest] / 2.0;
      if (weight <= 0) continue;
      light += weight;
      sumX += weight * x;
      sumY += weight * y;
    }
  }
  const Star star = {light > 0 ? sumX / light : x0, light > 0 ? sumY / light : y0};
  return star;
}

/* Measures the star in a frame that was exposed after this call. */
static int measure(unsigned char* pixels, Star* star) {
  for (int frame = 0; frame <= kSkippedFrames; ++frame) { /* skips frames exposed before */
    if (!succeeded(OrvikGetVideoData(0, pixels, kWidth * kHeight, 5000), "taking a frame")) {
      return 0;
    }
  }
  *star = findStar(pixels);
  return 1;
}

static int tryLines(unsigned char* pixels, int milliseconds) {
  Star before, after;
  if (!measure(pixels, &before)) return 0;
  for (int line = 0; line < kLines; ++line) {
    /* Returns at the end of the pulse. The library switches the line off if this program exits. */
    if (!succeeded(OrvikPulseGuide(0, (GuideD)line, milliseconds), "guiding")) return 0;
    if (!measure(pixels, &after)) return 0;
    printf("line %d: the star moved by %+.2f, %+.2f pixels\n", line, after.x - before.x,
           after.y - before.y);
    before = after;
  }
  return 1;
}

static int calibrate(int milliseconds) {
  static unsigned char pixels[kWidth * kHeight];
  int good =
      succeeded(OrvikSetROIFormat(0, kWidth, kHeight, 1, Orvik_IMG_Y8), "setting the format");
  good = good && succeeded(OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 50000, Orvik_FALSE),
                           "setting the exposure");
  good = good && succeeded(OrvikStartVideoCapture(0), "starting video");
  good = good && tryLines(pixels, milliseconds);
  OrvikStopVideoCapture(0);
  return good;
}

int main(int argc, char** argv) {
  const int milliseconds = argc > 1 ? atoi(argv[1]) : 0;
  if (milliseconds < 1 || milliseconds > ORVIK_MAX_PULSE_MS) {
    fprintf(stderr, "usage: guiding MILLISECONDS [MODEL]\n");
    return EXIT_FAILURE;
  }
  if (!openCamera(argc > 2 ? argv[2] : NULL)) return EXIT_FAILURE;
  const int good = calibrate(milliseconds);
  OrvikCloseCamera(0);
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
