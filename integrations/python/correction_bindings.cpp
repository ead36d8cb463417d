// SPDX-License-Identifier: MIT
// The classes Dark and HotPixels of the extension module.
#include <string>

#include "bindings.h"

namespace orvik::python {
namespace {

/// Averages as many exposures as the library wants.
void recordDark(DarkPart& part) {
  Session& session = *part.session;
  const auto isOver = [](Camera& camera) { return camera.dark().recording().isOver == Orvik_TRUE; };
  session.use([](Camera& camera) { camera.dark().startRecording(); });
  try {
    while (!session.use(isOver)) session.snap();
  } catch (...) {
    std::error_code ignored;
    session.release([&](Camera& camera) { camera.dark().stopRecording(ignored); });
    throw;
  }
}

}  // namespace

void bindCorrections(py::module_& module) {
  py::class_<DarkPart>(module, "Dark",
                       "The dark frame of a camera, which is subtracted from 8-bit images.")
      .def("record", &recordDark,
           "Averages 1 to 5 exposures with the present settings; cover the telescope first.\n"
           "The format must show the whole sensor in 8 bits, with bin 1.")
      .def("load", method(+[](const DarkFrame& dark, const std::string& path) { dark.load(path); }),
           "Loads an 8-bit bitmap of the sensor's size, and subtracts it from now on. Settings\n"
           "keep its path if it is absolute.")
      .def("save", method(+[](const DarkFrame& dark, const std::string& path) { dark.save(path); }),
           "Saves it as a bitmap. Settings keep its path if it is absolute.")
      .def("disable", method(+[](const DarkFrame& dark) { dark.disable(); }),
           "Ends the subtraction and forgets the file.")
      .def_property("enabled",
                    method(+[](const DarkFrame& dark) { return dark.info().inUse == Orvik_TRUE; }),
                    method(+[](const DarkFrame& dark, bool on) { dark.use(on); }),
                    "Whether it is subtracted.")
      .def_property_readonly("info", method(+[](const DarkFrame& dark) { return dark.info(); }),
                             "What there is.");

  py::class_<HotPixelPart>(module, "HotPixels",
                           "The table of hot pixels of a camera, and its correction in images.")
      .def("detect", method(+[](const HotPixels& table) { return table.detect(); }),
           "Finds the pixels 31 or more above the mean of the dark frame; returns how many.")
      .def("mark", method(+[](const HotPixels& table, int x, int y, bool isHot) {
             table.mark({x, y}, isHot);
           }),
           py::arg("x"), py::arg("y"), py::arg("hot") = true,
           "Marks a pixel of the sensor as hot, or as good.")
      .def("save", method(+[](const HotPixels& table) { table.save(); }),
           "Writes the table into the camera's flash and verifies it; takes seconds.")
      .def("load", method(+[](const HotPixels& table) { return table.load(); }),
           "Reads the table from the camera's flash, as opening does; returns its length.")
      .def_property("enabled",
                    method(+[](const HotPixels& table) { return table.info().isOn == Orvik_TRUE; }),
                    method(+[](const HotPixels& table, bool on) { table.use(on); }),
                    "Whether images are corrected.")
      .def_property_readonly("info", method(+[](const HotPixels& table) { return table.info(); }),
                             "What there is.")
      .def_property_readonly("array", method(+[](const HotPixels& table) { return table.list(); }),
                             "N x 2: column and row of each, row by row.");
}

}  // namespace orvik::python
