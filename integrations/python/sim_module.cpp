// SPDX-License-Identifier: MIT
// The extension module orvik._sim: virtual cameras. A module of its own, so that programs for real
// cameras do without the library of virtual ones.
#include <pybind11/stl.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "orvik/orvik_sim.h"

namespace {

namespace py = pybind11;

/// @return id and serial number of the virtual camera
std::pair<int, std::string> plug(const std::string& model, const std::string& options) {
  const int id = OrvikSimPlug(model.c_str(), options.c_str());
  if (id < 0) throw py::value_error(OrvikSimLastError());
  std::vector<Orvik_SIM_CAMERA> cameras(static_cast<std::size_t>(OrvikSimList(nullptr, 0)));
  OrvikSimList(cameras.data(), static_cast<int>(cameras.size()));
  const auto found = std::find_if(cameras.begin(), cameras.end(),
                                  [id](const auto& camera) { return camera.id == id; });
  return {id, found == cameras.end() ? "" : found->serial};
}

std::vector<std::string> models() {
  std::vector<std::string> codes;
  while (const char* code = OrvikSimModel(static_cast<int>(codes.size()))) codes.emplace_back(code);
  return codes;
}

}  // namespace

PYBIND11_MODULE(_sim, module) {
  module.doc() = "The library of virtual cameras, as orvik.sim uses it.";
  module.def("plug", &plug, py::call_guard<py::gil_scoped_release>());
  module.def("unplug", &OrvikSimUnplug, py::call_guard<py::gil_scoped_release>());
  module.def("unplug_all", &OrvikSimUnplugAll, py::call_guard<py::gil_scoped_release>());
  module.def("models", &models);
}
