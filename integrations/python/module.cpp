// SPDX-License-Identifier: MIT
// The extension module orvik._orvik, on which the package's Python code is built.
#include <pybind11/pybind11.h>

#include <chrono>
#include <exception>
#include <thread>
#include <vector>

#include "bindings.h"
#include "video_reader.h"

namespace orvik::python {
namespace {

/// Raises a library error as the class of orvik/errors.py for it.
void translate(std::exception_ptr raised) {  // NOLINT: the type of a translator
  try {
    if (raised) std::rethrow_exception(raised);
  } catch (const Error& error) {
    const auto* const named = dynamic_cast<const NamedError*>(&error);
    const py::object made =
        py::module_::import("orvik.errors")
            .attr("make")(error.what(), int{error.orvikCode()}, named ? named->name : "");
    PyErr_SetObject(py::type::handle_of(made).ptr(), made.ptr());
  }
}

void bindVideo(py::module_& module) {
  py::class_<VideoReader>(module, "Video",
                          "The frames of a running video: see Camera.video(). The end of its\n"
                          "`with` block, or of the loop over it, stops the video.")
      .def("__iter__", [](py::object self) { return self; })
      .def("__next__", &VideoReader::next)
      .def("__enter__", [](py::object self) { return self; })
      .def("__exit__", [](VideoReader& video, const py::args&) { video.stop(); })
      .def("stop", &VideoReader::stop, "Stops the video. Any thread; a loop over it ends.")
      .def_property_readonly("lost", &VideoReader::lost,
                             "Frames lost so far, before the last one that was delivered.");
}

std::vector<Device> presentDevices() {
  const Unlocked unlocked;
  return devices();
}

/// Waits until something is plugged in or unplugged.
///
/// @param changes the count that the last call returned, or 0
/// @param timeout seconds
/// @return the present count; the same one if nothing has changed before the timeout
int waitForChange(int changes, double timeout) {
  const Unlocked unlocked;
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeout);
  for (;;) {
    const auto code = OrvikWaitForDeviceChange(&changes, static_cast<int>(kSlice.count()));
    if (code == Orvik_OK) return changes;
    // Without events the caller has to look from time to time.
    if (code == Orvik_ERROR_NOT_SUPPORTED) std::this_thread::sleep_for(kSlice);
    checkSignals();
    if (std::chrono::steady_clock::now() >= end) return changes;
  }
}

}  // namespace
}  // namespace orvik::python

PYBIND11_MODULE(_orvik, module) {
  using namespace orvik::python;
  module.doc() = "The library, as the package's Python code uses it.";
  py::register_exception_translator(&translate);
  bindVideo(module);
  bindCamera(module);
  module.def("version", &OrvikGetVersion);
  module.def("devices", [] { return record(presentDevices()); });
  module.def("wait_for_change", &waitForChange);
}
