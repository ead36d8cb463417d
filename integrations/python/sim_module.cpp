// SPDX-License-Identifier: MIT
// The extension module orvik._sim: virtual cameras. A module of its own, so that programs for real
// cameras do without the library of virtual ones.
#include <pybind11/pybind11.h>

#include <string>
#include <vector>

#include "orvik/orvik_sim.h"

namespace {

namespace py = pybind11;

int plug(const std::string& model, const std::string& options) {
  const int id = OrvikSimPlug(model.c_str(), options.c_str());
  if (id < 0) throw py::value_error(OrvikSimLastError());
  return id;
}

/// The serial number of a virtual camera that is plugged in, else "".
std::string serial(int id) {
  std::vector<Orvik_SIM_CAMERA> cameras(static_cast<std::size_t>(OrvikSimList(nullptr, 0)) + 1);
  const int count = OrvikSimList(cameras.data(), static_cast<int>(cameras.size()));
  cameras.resize(std::min(cameras.size(), static_cast<std::size_t>(count)));
  for (const Orvik_SIM_CAMERA& camera : cameras) {
    if (camera.id == id) return camera.serial;
  }
  return "";
}

py::list models() {
  py::list list;
  for (int position = 0; OrvikSimModel(position) != nullptr; ++position) {
    list.append(OrvikSimModel(position));
  }
  return list;
}

}  // namespace

PYBIND11_MODULE(_sim, module) {
  module.doc() = "The library of virtual cameras, as orvik.sim uses it.";
  module.def("plug", &plug, py::call_guard<py::gil_scoped_release>());
  module.def("unplug", &OrvikSimUnplug, py::call_guard<py::gil_scoped_release>());
  module.def("unplug_all", &OrvikSimUnplugAll, py::call_guard<py::gil_scoped_release>());
  module.def("serial", &serial);
  module.def("models", &models);
}
