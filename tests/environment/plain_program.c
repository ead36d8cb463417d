/* SPDX-License-Identifier: MIT */
/* A program that is linked with liborvik only. It executes its arguments one after the other, and
 * returns the number of the first one that fails. */
#define _POSIX_C_SOURCE 200809L
#include <dlfcn.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include "orvik/orvik_service.h"

enum { kThreads = 8, kWidth = 1304, kHeight = 976, kWaitMs = 20000 };

static pthread_barrier_t start;

static void* count(void* number) {
  pthread_barrier_wait(&start);
  if (OrvikListDevices(NULL, 0, number) != Orvik_OK) *(int*)number = -1;
  return NULL;
}

/* Several threads look for cameras at the same time; each prints how many it has found. */
static int look(void) {
  pthread_t threads[kThreads];
  int numbers[kThreads];
  pthread_barrier_init(&start, NULL, kThreads);
  for (int i = 0; i < kThreads; ++i) pthread_create(&threads[i], NULL, count, &numbers[i]);
  for (int i = 0; i < kThreads; ++i) {
    pthread_join(threads[i], NULL);
    printf("%d%s", numbers[i], i == kThreads - 1 ? "\n" : "");
  }
  return 1;
}

/* Takes a frame, and leaves the camera open and capturing. */
static int stream(void) {
  static unsigned char frame[kWidth * kHeight];
  return OrvikGetNumOfConnectedCameras() == 1 && OrvikOpenCamera(0) == Orvik_OK &&
         OrvikStartVideoCapture(0) == Orvik_OK &&
         OrvikGetVideoData(0, frame, sizeof frame, kWaitMs) == Orvik_OK &&
         frame[sizeof frame / 2] != 0;
}

static int change(void) {
  static int32_t changes = 0;
  return OrvikWaitForDeviceChange(&changes, kWaitMs) == Orvik_OK;
}

static void* simulator(const char* name) {
  return dlsym(dlopen(ORVIK_SIM_LIBRARY, RTLD_NOW), name);
}

static int execute(const char* word) {
  if (strcmp(word, "look") == 0) return look();
  if (strcmp(word, "stream") == 0) return stream();
  if (strcmp(word, "change") == 0) return change();
  if (strcmp(word, "plug") == 0) {
    int (*plug)(const char*, const char*) = NULL;
    *(void**)&plug = simulator("OrvikSimPlug");
    return plug("T01C", "") > 0;
  }
  void (*unplugAll)(void) = NULL;
  *(void**)&unplugAll = simulator("OrvikSimUnplugAll");
  unplugAll();
  return 1;
}

int main(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    if (!execute(argv[i])) return i;
  }
  return 0;
}
