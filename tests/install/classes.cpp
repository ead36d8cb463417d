// SPDX-License-Identifier: MIT
// Tests the installed class interface from a C++ program: it compiles, links, runs, takes a frame,
// and can query the type of an object.
#include <orvik/classes.h>
#include <orvik/orvik_sim.h>

#include <cstdio>
#include <memory>
#include <vector>

namespace {

int expect(bool condition, const char* what) {
  if (!condition) std::fprintf(stderr, "failed: %s\n", what);
  return condition ? 0 : 1;
}

int takeFrame(orvik::CCameraBase& camera) {
  std::vector<unsigned char> frame(640 * 480);
  return expect(camera.OpenCamera(1) && camera.InitCamera(), "open") +
         expect(camera.SetResolution(640, 480, 1, orvik::IMAGE_8BIT), "format") +
         expect(camera.StartCapture(false), "start") +
         expect(camera.GetImage(frame.data(), static_cast<int>(frame.size()), 5000), "frame") +
         expect(camera.StopCapture(), "stop") +
         expect(frame[frame.size() / 2] != 0, "light in the frame") +
         expect(camera.CloseCamera(), "close");
}

}  // namespace

int main() {
  int failures = expect(OrvikSimPlug("T15C", "scene=grey") > 0, "plug") +
                 expect(OrvikSimPlug("T13C_C", "scene=grey") > 0, "plug a cooled one");
  const std::unique_ptr<orvik::CCameraBase> plain = std::make_unique<orvik::CCameraT15C>();
  const std::unique_ptr<orvik::CCameraBase> cooled = std::make_unique<orvik::CCameraT13C_C>();
  failures += takeFrame(*plain) + takeFrame(*cooled);
  failures += expect(dynamic_cast<orvik::CCameraCool*>(plain.get()) == nullptr, "no cooler");
  failures += expect(dynamic_cast<orvik::CCameraCool*>(cooled.get()) != nullptr, "cooler");
  failures += expect(plain->GetBMPPath().empty(), "no dark");
  orvik::CAlgorithm::RGBYUV_Init();
  OrvikSimUnplugAll();
  if (failures == 0) std::puts("a C++ program took frames with camera objects");
  return failures == 0 ? 0 : 1;
}
