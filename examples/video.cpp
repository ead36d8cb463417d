// SPDX-License-Identifier: MIT
// Video of a planet: a small region in the middle of the sensor, as fast as the camera sends it,
// written frame after frame to video.raw (8 bits, with the colour mosaic of the sensor). If the
// camera is unplugged, what it has sent is kept.
//
//   video 10           10 seconds with the camera on the USB bus
//   video 10 T15C      with a virtual camera
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>

#include "camera.h"

namespace {

using namespace std::chrono_literals;
using Seconds = std::chrono::duration<double>;

void run(double seconds, const char* model) {
  orvik::Camera camera = openCamera(model, "scene=planet");
  // The region is centred. Move it with setStart() to follow the planet.
  camera.setFormat({.width = 320, .height = 240, .type = Orvik_IMG_RAW8});
  camera.set(orvik::control::kExposure, 5ms);

  std::ofstream file("video.raw", std::ios::binary);
  int frames = 0;
  int lost = 0;
  std::int64_t first = 0;  // start of the first exposure, ns
  std::int64_t last = 0;
  std::exception_ptr fault;
  try {
    orvik::Video video(camera);
    video.stopAt(std::chrono::steady_clock::now() +
                 std::chrono::duration_cast<std::chrono::milliseconds>(Seconds(seconds)));
    for (const orvik::Frame& frame : video) {
      file.write(reinterpret_cast<const char*>(frame.bytes().data()),
                 static_cast<std::streamsize>(frame.bytes().size()));
      last = frame.info().exposureStart;
      if (frames++ == 0) first = last;
      lost += static_cast<int>(frame.info().lostBefore);
    }
  } catch (const orvik::Error&) {
    fault = std::current_exception();  // unplugged, for example: told at the end
  }
  file.close();
  if (!file) throw std::runtime_error("video.raw cannot be written");
  std::cout << camera.name() << ": " << frames << " frames, " << lost << " lost";
  if (last > first)
    std::cout << ", " << (frames - 1) / (1e-9 * double(last - first)) << " a second";
  std::cout << '\n';
  if (fault) std::rethrow_exception(fault);
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
