/* SPDX-License-Identifier: MIT */
/* A small guider: watches how far the brightest star drifts, finds out by pulses on the guide port
 * how its lines move the mount, and then keeps the star in its place.
 *
 *   guiding 20           20 s without and 20 s with guiding, with the first camera on the USB bus
 *   guiding 20 T15C      with a virtual camera, whose sky drifts and follows the pulses */
#define _POSIX_C_SOURCE 199309L /* clock_gettime */
#include <math.h>
#include <orvik/orvik_service.h>
#include <stdlib.h>
#include <time.h>

#include "example.h"

enum { kWidth = 640, kHeight = 480, kReach = 8, kSearch = 60 };
enum { kCalibrationMs = 1000, kLongestPulseMs = 500 };
static const double kShare = 0.7; /* of the error that a correction removes */

typedef struct Vector {
  double x, y; /* pixels, to the right and down */
} Vector;

typedef struct Star {
  Vector place;
  double time; /* of its exposure: seconds of CLOCK_MONOTONIC */
} Star;

/* What is known of the mount. */
typedef struct Mount {
  Vector drift;   /* pixels per second */
  Vector axis[2]; /* pixels per second of a pulse on line 0 and on line 2 */
} Mount;

static unsigned char pixels[kWidth * kHeight];

static double now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return (double)time.tv_sec + (double)time.tv_nsec / 1e9;
}

static Vector minus(Vector a, Vector b) {
  const Vector difference = {a.x - b.x, a.y - b.y};
  return difference;
}

static Vector times(Vector v, double factor) {
  const Vector product = {v.x * factor, v.y * factor};
  return product;
}

/* The centre of light around the brightest pixel, which is sought within `search` pixels of `near`.
 */
static Vector findStar(Vector near, int search) {
  int x0 = (int)near.x, y0 = (int)near.y, brightest = -1;
  for (int y = (int)near.y - search; y <= (int)near.y + search; ++y) {
    for (int x = (int)near.x - search; x <= (int)near.x + search; ++x) {
      if (x < 0 || y < 0 || x >= kWidth || y >= kHeight) continue;
      if (pixels[y * kWidth + x] <= brightest) continue;
      brightest = pixels[y * kWidth + x];
      x0 = x;
      y0 = y;
    }
  }
  double light = 0, sumX = 0, sumY = 0;
  for (int y = y0 - kReach; y <= y0 + kReach; ++y) {
    for (int x = x0 - kReach; x <= x0 + kReach; ++x) {
      if (x < 0 || y < 0 || x >= kWidth || y >= kHeight) continue;
      /* Half of the peak is subtracted, so that the sky around the star has no weight. */
      const double weight = pixels[y * kWidth + x] - brightest / 2.0;
      if (weight <= 0) continue;
      light += weight;
      sumX += weight * x;
      sumY += weight * y;
    }
  }
  const Vector star = {light > 0 ? sumX / light : x0, light > 0 ? sumY / light : y0};
  return star;
}

/* Measures the star, last seen at star->place, in a frame whose exposure begins after this call. */
static int measure(Star* star, int search) {
  const double begin = now();
  Orvik_FRAME_INFO info = {0};
  while (1e-9 * (double)info.exposureStart < begin) { /* frames exposed before are skipped */
    if (!succeeded(OrvikGetVideoData(0, pixels, kWidth * kHeight, 5000), "taking a frame") ||
        !succeeded(OrvikGetFrameInfo(0, &info), "looking at a frame")) {
      return 0;
    }
  }
  star->place = findStar(star->place, search);
  star->time = 0.5e-9 * (double)(info.exposureStart + info.exposureEnd);
  return 1;
}

/* Gives a pulse that moves the mount along an axis; a negative one is for the opposite line. */
static int pulse(int axis, double milliseconds) {
  const int length = (int)fmin(fabs(milliseconds), kLongestPulseMs);
  const GuideD line = (GuideD)(2 * axis + (milliseconds < 0));
  /* Returns at the end of the pulse. The library switches the line off if this program exits. */
  return length < 1 || succeeded(OrvikPulseGuide(0, line, length), "guiding");
}

/* Gives the pulses that move the star by `way`. */
static int correct(const Mount* mount, Vector way) {
  const Vector a = mount->axis[0], b = mount->axis[1];
  const double determinant = a.x * b.y - a.y * b.x;
  return pulse(0, 1000 * (way.x * b.y - way.y * b.x) / determinant) &&
         pulse(1, 1000 * (a.x * way.y - a.y * way.x) / determinant);
}

/* Follows the star for some time, and guides it if `mount` is not null. Prints how far it was from
 * its first place, as root of the mean square. */
static int follow(const Mount* mount, double seconds, Star* star) {
  const Vector first = star->place;
  double squares = 0;
  int count = 0;
  for (const double end = now() + seconds; now() < end; ++count) {
    if (!measure(star, kSearch)) return 0;
    const Vector error = minus(star->place, first);
    squares += error.x * error.x + error.y * error.y;
    if (mount != NULL && !correct(mount, times(error, -kShare))) return 0;
  }
  printf("%s guiding: RMS error %.2f pixels in %d images\n", mount == NULL ? "without" : "with",
         sqrt(squares / count), count);
  return 1;
}

/* Gives a pulse on line 0 and one on line 2, and measures how far the star moves. */
static int calibrate(Mount* mount, Star* star) {
  for (int axis = 0; axis < 2; ++axis) {
    if (!measure(star, kSearch)) return 0;
    const Star before = *star;
    if (!succeeded(OrvikPulseGuide(0, (GuideD)(2 * axis), kCalibrationMs), "guiding") ||
        !measure(star, kSearch)) {
      return 0;
    }
    const Vector drift = times(mount->drift, star->time - before.time);
    const Vector moved = minus(minus(star->place, before.place), drift);
    mount->axis[axis] = times(moved, 1000.0 / kCalibrationMs);
    printf("line %d moves the star by %+.2f, %+.2f pixels per second\n", 2 * axis,
           mount->axis[axis].x, mount->axis[axis].y);
    if (hypot(moved.x, moved.y) < 0.5) {
      fprintf(stderr, "The mount does not follow the guide port.\n");
      return 0;
    }
  }
  return 1;
}

static int guide(double seconds) {
  Star star = {{kWidth / 2.0, kHeight / 2.0}, 0};
  if (!measure(&star, kWidth)) return 0;
  const Star first = star;
  if (!follow(NULL, seconds, &star)) return 0;
  Mount mount;
  mount.drift = times(minus(star.place, first.place), 1 / (star.time - first.time));
  return calibrate(&mount, &star) && follow(&mount, seconds, &star);
}

static int run(double seconds) {
  int good =
      succeeded(OrvikSetROIFormat(0, kWidth, kHeight, 1, Orvik_IMG_Y8), "setting the format");
  good = good && succeeded(OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 50000, Orvik_FALSE),
                           "setting the exposure");
  good = good && succeeded(OrvikStartVideoCapture(0), "starting video");
  good = good && guide(seconds);
  OrvikStopVideoCapture(0);
  return good;
}

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? atof(argv[1]) : 0;
  if (!(seconds >= 1 && seconds <= 3600)) {
    fprintf(stderr, "usage: guiding SECONDS [MODEL], with 1 to 3600 seconds\n");
    return EXIT_FAILURE;
  }
  if (!openCameraWith(argc > 2 ? argv[2] : NULL, "scene=stars,drift=1.5:0.5,guide-angle=30")) {
    return EXIT_FAILURE;
  }
  const int good = run(seconds);
  OrvikCloseCamera(0);
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
