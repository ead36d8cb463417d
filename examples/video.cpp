// SPDX-License-Identifier: MIT
// Video of a planet: a small region in the middle of the sensor, as fast as the camera sends it,
// written frame after frame to video.raw (8 bits, with the colour mosaic of the sensor).
//
//   video 10           10 seconds with the first camera on the USB bus
//   video 10 T15C      with a virtual camera
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <vector>

#include "camera.h"

namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr int kExposureUs = 5000;

struct Count {
  int frames = 0;
  int lost = 0;
};

/// Whether the missing frame is only late: capture goes on, and the camera is still there.
bool isLate() {
  Orvik_NO_FRAME_REASON reason = Orvik_NO_FRAME_NONE;
  check(OrvikGetNoFrameReason(0, &reason), "asking for the reason");
  return reason == Orvik_NO_FRAME_TIMEOUT;
}

Count record(std::chrono::duration<double> length, std::ostream& file) {
  std::vector<unsigned char> frame(std::size_t{kWidth} * kHeight);
  // Twice the exposure and some time for the read-out; a frame that takes longer has been lost.
  constexpr int kWaitMs = 2 * kExposureUs / 1000 + 500;
  Count count;
  check(OrvikStartVideoCapture(0), "starting video");
  const auto end = std::chrono::steady_clock::now() + length;
  while (std::chrono::steady_clock::now() < end) {
    const auto code =
        OrvikGetVideoData(0, frame.data(), static_cast<std::int32_t>(frame.size()), kWaitMs);
    if (code == Orvik_ERROR_NO_FRAME && isLate()) continue;  // a frame was lost; capture goes on
    check(code, "taking a frame");
    file.write(reinterpret_cast<const char*>(frame.data()), std::streamsize{kWidth} * kHeight);
    ++count.frames;
  }
  // Before capture is stopped, which resets the count.
  check(OrvikGetDroppedFrames(0, &count.lost), "counting lost frames");
  check(OrvikStopVideoCapture(0), "stopping video");
  return count;
}

void run(double seconds, const char* model) {
  const Camera camera(model, "scene=planet");
  // The region is centred. Move it with OrvikSetStartPos() to follow the planet.
  check(OrvikSetROIFormat(0, kWidth, kHeight, 1, Orvik_IMG_RAW8), "setting the format");
  Camera::set(Orvik_CTL_EXPOSURE, kExposureUs);
  std::ofstream file("video.raw", std::ios::binary);
  const Count count = record(std::chrono::duration<double>(seconds), file);
  file.close();
  if (!file) throw std::runtime_error("video.raw cannot be written");
  std::cout << Camera::info().name << ": " << count.frames << " frames, " << count.lost << " lost, "
            << count.frames / seconds << " a second\n";
  if (count.frames == 0) throw std::runtime_error("no frame came");
}

}  // namespace

int main(int argc, char** argv) {
  const double seconds = argc > 1 ? std::atof(argv[1]) : 0;
  if (!(seconds > 0)) {
    std::cerr << "usage: video SECONDS [MODEL]\n";
    return EXIT_FAILURE;
  }
  try {
    run(seconds, argc > 2 ? argv[2] : nullptr);
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
