// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/chrono.h>
#include <pybind11/stl.h>

#include <utility>

#include "interpreter.h"
#include "records.h"
#include "session.h"

namespace orvik::python {

/// What Python code holds of a camera: the camera itself, or a part of it.
struct CameraBase {
  std::shared_ptr<Session> session;
};
struct DarkPart : CameraBase {};
struct HotPixelPart : CameraBase {};

/// A method that calls a function with the open camera, without the interpreter lock. What the
/// function returns becomes a record afterwards if there is one for it.
template <typename Owner = CameraBase, typename Result, typename... Args>
auto withCamera(Result (*call)(Camera&, Args...)) {
  return [call](const Owner& owner, Args... args) {
    const auto run = [&] {
      const Unlocked unlocked;
      return owner.session->use([&](Camera& camera) { return call(camera, args...); });
    };
    if constexpr (requires { record(std::declval<Result>()); }) {
      return record(run());
    } else {
      return run();
    }
  };
}

void bindCamera(py::module_& module);
void bindCorrections(py::module_& module);

}  // namespace orvik::python
