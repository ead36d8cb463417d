// SPDX-License-Identifier: MIT
// The class interface: a camera as an object of its model's class.
//
//   class_interface            uses the first T13C COOL on the USB bus
//   class_interface T13C_C     uses a virtual one
#include <orvik/classes.h>
#include <orvik/orvik_sim.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

constexpr int kWidth = 640;
constexpr int kHeight = 480;
constexpr std::uint64_t kExposureUs = 20'000;
constexpr std::uint32_t kWaitMs = 10'000;

/// Members report failure by returning false.
void check(bool done, const std::string& doing) {
  if (!done) throw std::runtime_error(doing + " failed.");
}

std::vector<unsigned char> image(int width, int height) {
  return std::vector<unsigned char>(static_cast<std::size_t>(width) *
                                    static_cast<std::size_t>(height));
}

void takeImage(orvik::CCameraBase& camera, std::vector<unsigned char>& pixels) {
  check(camera.GetImage(pixels.data(), static_cast<int>(pixels.size()), kWaitMs), "an image");
}

/// Captures a video of a small region of interest in the middle of the sensor.
void takeRegion(orvik::CCameraBase& camera) {
  check(camera.SetResolution(kWidth, kHeight, 1, orvik::IMAGE_8BIT), "the region");
  check(camera.SetExp(kExposureUs, false), "the exposure");
  check(camera.StartCapture(false), "capture");
  auto pixels = image(kWidth, kHeight);
  takeImage(camera, pixels);
  camera.StopCapture();
  const int brightest = *std::max_element(pixels.begin(), pixels.end());
  std::cout << "region: " << kWidth << " x " << kHeight << ", brightest pixel " << brightest
            << '\n';
}

/// Records a dark frame with the cap on, and finds hot pixels in it.
void takeDark(orvik::CCameraBase& camera) {
  const int width = camera.GetMaxWidth();
  const int height = camera.GetMaxHeight();
  check(camera.SetResolution(width, height, 1, orvik::IMAGE_8BIT), "the whole sensor");
  check(camera.StartCapture(false), "capture");
  const int frames = camera.GettingDark(true, kExposureUs);
  auto pixels = image(width, height);
  while (!camera.IsGetDarkOver()) takeImage(camera, pixels);
  camera.StopCapture();
  camera.UsingDark(true);  // the dark frame is subtracted from now on

  check(camera.AutoGetHPC(), "the table of hot pixels");
  check(camera.ChangeHPCStatus(orvik::HPC_ON), "the correction");
  int onSensor = 0;
  camera.GetHPSum(&onSensor, nullptr);
  std::cout << "dark: " << frames << " frames, hot pixels: " << onSensor << '\n';
}

/// Uses the cooler's own members; the numbered controls can only read its state.
void cool(orvik::CCameraCool& camera) {
  camera.SetAutoTemp(true, 10);  // the library regulates from here until it is switched off
  std::cout << "sensor: " << camera.GetTemp() << " degC, cooler at " << camera.GetPowerPerc()
            << " %\n";
  camera.SetAutoTemp(false, 10);
  camera.SetPowerPerc(0);
}

void run() {
  orvik::CCameraT13C_C camera;
  check(camera.OpenCamera(1), "opening the first T13C COOL");
  check(camera.InitCamera(), "the initialisation");
  Orvik_CAMERA_INFO info{};
  camera.GetCameraProperty(&info);
  std::cout << info.name << ": " << info.maxWidth << " x " << info.maxHeight << " pixels\n";
  takeRegion(camera);
  takeDark(camera);
  cool(camera);
  camera.CloseCamera();  // the destructor would also do this
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc > 1 && OrvikSimPlug(argv[1], "scene=stars") < 0) {
      throw std::runtime_error(OrvikSimLastError());
    }
    std::cout << "cameras: " << OrvikGetNumOfConnectedCameras() << '\n';
    run();
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
