// SPDX-License-Identifier: MIT
// The classes Dark and HotPixels of the extension module.
#include <string>

#include "bindings.h"

namespace orvik::python {
namespace {

/// Averages as many exposures as the library wants.
void recordDark(DarkPart& dark) {
  const auto isOver = [](Camera& camera) { return camera.dark().recording().isOver == Orvik_TRUE; };
  dark.use([](Camera& camera) { camera.dark().startRecording(); });
  try {
    while (!dark.use(isOver)) dark.session->snap();
  } catch (...) {
    dark.session->release([](Camera& camera) {
      std::error_code ignored;
      camera.dark().stopRecording(ignored);
    });
    throw;
  }
}

void bindDark(py::module_& module) {
  using Owner = DarkPart;
  py::class_<Owner>(module, "Dark",
                    "The dark frame of a camera, which is subtracted from 8-bit images.")
      .def("record", &recordDark,
           "Averages 1 to 5 exposures with the present settings; cover the telescope first.\n"
           "The format must show the whole sensor in 8 bits, with bin 1.")
      .def("load", withCamera<Owner>(+[](Camera& camera, const std::string& path) {
             camera.dark().load(path);
           }),
           "Loads an 8-bit bitmap of the sensor's size, and subtracts it from now on. Settings\n"
           "keep its path if it is absolute.")
      .def("save", withCamera<Owner>(+[](Camera& camera, const std::string& path) {
             camera.dark().save(path);
           }),
           "Saves it as a bitmap. Settings keep its path if it is absolute.")
      .def("disable", withCamera<Owner>(+[](Camera& camera) { camera.dark().disable(); }),
           "Ends the subtraction and forgets the file.")
      .def_property("enabled", withCamera<Owner>(+[](Camera& camera) {
                      return camera.dark().info().inUse == Orvik_TRUE;
                    }),
                    withCamera<Owner>(+[](Camera& camera, bool on) { camera.dark().use(on); }),
                    "Whether it is subtracted.")
      .def_property_readonly(
          "info", withCamera<Owner>(+[](Camera& camera) { return camera.dark().info(); }),
          "What there is.");
}

void bindHotPixels(py::module_& module) {
  using Owner = HotPixelPart;
  py::class_<Owner>(module, "HotPixels",
                    "The table of hot pixels of a camera, and its correction in images.")
      .def("detect", withCamera<Owner>(+[](Camera& camera) { return camera.hotPixels().detect(); }),
           "Finds the pixels 31 or more above the mean of the dark frame; returns how many.")
      .def("mark", withCamera<Owner>(+[](Camera& camera, int x, int y, bool isHot) {
             camera.hotPixels().mark({x, y}, isHot);
           }),
           py::arg("x"), py::arg("y"), py::arg("hot") = true,
           "Marks a pixel of the sensor as hot, or as good.")
      .def("save", withCamera<Owner>(+[](Camera& camera) { camera.hotPixels().save(); }),
           "Writes the table into the camera's flash and verifies it; takes seconds.")
      .def("load", withCamera<Owner>(+[](Camera& camera) { return camera.hotPixels().load(); }),
           "Reads the table from the camera's flash, as opening does; returns its length.")
      .def_property("enabled", withCamera<Owner>(+[](Camera& camera) {
                      return camera.hotPixels().info().isOn == Orvik_TRUE;
                    }),
                    withCamera<Owner>(+[](Camera& camera, bool on) { camera.hotPixels().use(on); }),
                    "Whether images are corrected.")
      .def_property_readonly(
          "info", withCamera<Owner>(+[](Camera& camera) { return camera.hotPixels().info(); }),
          "What there is.")
      .def_property_readonly(
          "array", withCamera<Owner>(+[](Camera& camera) { return camera.hotPixels().list(); }),
          "N x 2: column and row of each, row by row.");
}

}  // namespace

void bindCorrections(py::module_& module) {
  bindDark(module);
  bindHotPixels(module);
}

}  // namespace orvik::python
