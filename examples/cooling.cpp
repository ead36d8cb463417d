// SPDX-License-Identifier: MIT
// Cooling: cools the sensor to a temperature and reports when it is reached.
//
//   cooling -10              with the first camera on the USB bus
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

/// The control is in tenths of a degree.
double sensorCelsius() { return Camera::get(Orvik_CTL_TEMPERATURE) / 10.0; }

void tell() {
  std::cout << sensorCelsius() << " degC, cooler at " << Camera::get(Orvik_CTL_COOL_POWER_PERC)
            << " %" << std::endl;
}

void coolTo(int target) {
  Camera::set(Orvik_CTL_TARGET_TEMP, target);
  Camera::set(Orvik_CTL_COOLER_ON, 1);  // the library regulates until the cooler is switched off
  const auto end = std::chrono::steady_clock::now() + kLongest;
  while (std::abs(sensorCelsius() - target) > kNearEnough) {
    if (std::chrono::steady_clock::now() > end) {
      throw std::runtime_error("The cooler does not reach this temperature; try a higher one.");
    }
    tell();
    std::this_thread::sleep_for(1s);
  }
}

void run(int target, const char* model) {
  const Camera camera(model);
  if (Camera::info().hasCooler != Orvik_TRUE) throw std::runtime_error("It has no cooler.");
  coolTo(target);
  tell();
  std::cout << "Now is the time for darks and long exposures.\n";
  // Done. The sensor now warms up by itself, which is slow enough; do not heat it.
  Camera::set(Orvik_CTL_COOLER_ON, 0);
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
