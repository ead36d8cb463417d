/* SPDX-License-Identifier: MIT */
/* The first frame: takes one picture of the whole sensor and writes it as first_frame.pgm.
 *
 *   first_frame          with the first camera on the USB bus
 *   first_frame T15C     with a virtual camera
 *
 * Everything is in this one file; the other examples have their common parts in example.h and
 * camera.h. */
#include <orvik/orvik_service.h>
#include <orvik/orvik_sim.h>
#include <stdio.h>
#include <stdlib.h>

/* Prints the error. */
static int failed(const char* doing, Orvik_ERROR_CODE code) {
  fprintf(stderr, "%s: %s\n", doing, OrvikErrorText(code));
  return EXIT_FAILURE;
}

static int writePgm(const char* name, const unsigned char* pixels, int width, int height) {
  const size_t count = (size_t)width * (size_t)height;
  FILE* file = fopen(name, "wb");
  int good = file != NULL && fprintf(file, "P5\n%d %d\n255\n", width, height) > 0 &&
             fwrite(pixels, 1, count, file) == count;
  if (file != NULL && fclose(file) != 0) good = 0; /* buffered data are written only now */
  if (!good) perror(name);
  return good ? EXIT_SUCCESS : EXIT_FAILURE;
}

/* Captures one frame of an open camera into `pixels`, which has room for it. */
static Orvik_ERROR_CODE capture(unsigned char* pixels, int width, int height) {
  const int waitMs = 5000;
  Orvik_ERROR_CODE code = OrvikSetROIFormat(0, width, height, 1, Orvik_IMG_Y8);
  if (code == Orvik_OK) {
    code = OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 20000 /* microseconds */, Orvik_FALSE);
  }
  if (code == Orvik_OK) code = OrvikStartVideoCapture(0);
  if (code == Orvik_OK) code = OrvikGetVideoData(0, pixels, width * height, waitMs);
  OrvikStopVideoCapture(0);
  return code;
}

static int takePicture(void) {
  Orvik_CAMERA_INFO info;
  Orvik_ERROR_CODE code = OrvikGetCameraProperty(&info, 0);
  if (code != Orvik_OK) return failed("asking the camera", code);

  unsigned char* pixels = malloc((size_t)info.maxWidth * (size_t)info.maxHeight);
  if (pixels == NULL) return EXIT_FAILURE;
  code = capture(pixels, info.maxWidth, info.maxHeight);
  int result = EXIT_FAILURE;
  if (code == Orvik_OK) {
    printf("%s: %d x %d pixels\n", info.name, (int)info.maxWidth, (int)info.maxHeight);
    result = writePgm("first_frame.pgm", pixels, info.maxWidth, info.maxHeight);
  } else {
    failed("capturing", code);
  }
  free(pixels);
  return result;
}

int main(int argc, char** argv) {
  if (argc > 1 && OrvikSimPlug(argv[1], "scene=moon") < 0) {
    fprintf(stderr, "%s\n", OrvikSimLastError());
    return EXIT_FAILURE;
  }
  if (OrvikGetNumOfConnectedCameras() == 0) {
    fprintf(stderr, "No camera found.\n");
    return EXIT_FAILURE;
  }
  const Orvik_ERROR_CODE code = OrvikOpenCamera(0);
  if (code != Orvik_OK) return failed("opening the camera", code);
  const int result = takePicture();
  OrvikCloseCamera(0);
  return result;
}
