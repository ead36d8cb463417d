// SPDX-License-Identifier: MIT
// A program that returns from main() while cameras are in use ends without an error. Each round is
// a separate process, which ends a little later in its capture than the previous one.
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

#include "orvik/orvik.h"
#include "orvik/orvik_sim.h"

namespace {

constexpr int kRounds = 12;

/// Leaves three cameras open: one in a video with automatic control, one in an exposure, and one
/// that is cooling.
int leave(int afterMs) {
  OrvikSimPlug("T15C", "pace=free");
  OrvikSimPlug("T02C", "");
  OrvikSimPlug("T13C_C", "");
  const int count = OrvikGetNumOfConnectedCameras();
  for (int index = 0; index < count; ++index) {
    if (OrvikOpenCamera(index) != Orvik_OK) return 2;
    OrvikSetControlValue(index, Orvik_CTL_EXPOSURE, 10'000, Orvik_TRUE);
    OrvikSetControlValue(index, Orvik_CTL_COOLER_ON, 1, Orvik_FALSE);
  }
  OrvikStartExposure(1);
  OrvikStartVideoCapture(0);
  OrvikPulseGuideOn(0, Orvik_GUIDE_DIR_1);
  std::vector<unsigned char> image(16U << 20U);
  OrvikGetVideoData(0, image.data(), static_cast<std::int32_t>(image.size()), 10'000);
  std::this_thread::sleep_for(std::chrono::milliseconds(afterMs));
  return 0;
}

}  // namespace

int main() {
  for (int round = 0; round < kRounds; ++round) {
    const pid_t child = fork();
    if (child == 0) return leave(11 * round);
    int status = -1;
    if (child < 0 || waitpid(child, &status, 0) != child || status != 0) {
      std::fprintf(stderr, "round %d ended with status %d\n", round, status);
      return 1;
    }
  }
  return 0;
}
