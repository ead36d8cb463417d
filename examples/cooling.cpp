// SPDX-License-Identifier: MIT
// Cooling: cools the sensor to a temperature and reports when it is reached.
//
//   cooling -10              with the camera on the USB bus
//   cooling -10 T13C_C       with a virtual camera
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <iostream>
#include <thread>

#include "camera.h"

namespace {

using namespace std::chrono_literals;

constexpr double kNearEnough = 0.5;  // degrees Celsius
constexpr auto kLongest = 10min;

void tell(const orvik::Camera& camera) {
  std::cout << camera.get(orvik::control::kTemperature).degrees << " degC, cooler at "
            << camera.get(orvik::control::kCoolerPower) << " %" << std::endl;
}

void coolTo(orvik::Camera& camera, int target) {
  camera.set(orvik::control::kTargetTemperature, target);
  // The library regulates until the cooler is switched off.
  camera.set(orvik::control::kCoolerOn, true);
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (std::abs(camera.get(orvik::control::kTemperature).degrees - target) > kNearEnough) {
    if (std::chrono::steady_clock::now() > end) {
      throw std::runtime_error("The cooler does not reach this temperature; try a higher one.");
    }
    tell(camera);
    std::this_thread::sleep_for(1s);
  }
}

void run(int target, const char* model) {
  orvik::Camera camera = openCamera(model);
  if (camera.info().hasCooler != Orvik_TRUE) throw std::runtime_error("It has no cooler.");
  coolTo(camera, target);
  tell(camera);
  std::cout << "Now is the time for darks and long exposures.\n";
  // Done. The sensor now warms up by itself, which is slow enough; do not heat it.
  camera.set(orvik::control::kCoolerOn, false);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: cooling DEGREES [MODEL]\n";
    return EXIT_FAILURE;
  }
  try {
    run(std::atoi(argv[1]), argc > 2 ? argv[2] : nullptr);
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
