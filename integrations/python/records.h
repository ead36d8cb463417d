// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/pybind11.h>

#include <array>
#include <memory>
#include <vector>

#include "orvik/orvik.hpp"

namespace orvik::python {

// What the library tells, as the records of orvik/records.py, or as tuples and arrays.

pybind11::object record(const std::vector<Device>& devices);
pybind11::object record(const Orvik_CAMERA_INFO& info);
pybind11::object record(const std::vector<Control>& controls);
pybind11::object record(const Orvik_READOUT_INFO& info);
pybind11::object record(const Orvik_COOLER_STATUS& status);
pybind11::object record(const Orvik_DARK_INFO& info);
pybind11::object record(const Orvik_HOT_PIXEL_INFO& info);
pybind11::object record(const std::vector<Orvik_PIXEL>& pixels);
pybind11::object record(const Orvik_FIRMWARE_VERSION& version);
pybind11::object record(const std::array<std::uint8_t, sizeof(Orvik_ID::id)>& id);
/// A Frame whose array shares the memory of `frame`, and keeps it.
///
/// @param camera that took it
pybind11::object record(const std::shared_ptr<Frame>& frame, const Orvik_CAMERA_INFO& camera);

}  // namespace orvik::python
