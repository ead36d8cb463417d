// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/stl.h>

#include <memory>

#include "interpreter.h"
#include "records.h"
#include "session.h"

namespace orvik::python {

/// What Python code holds of a part of a camera.
struct CameraPart {
  std::shared_ptr<Session> session;

  template <typename Call>
  auto use(Call call) {
    return session->use(call);
  }
};
struct DarkPart : CameraPart {};
struct HotPixelPart : CameraPart {};

/// A method that calls a function with the open camera. What the function returns becomes a record
/// if there is one for it.
template <typename Owner = Session, typename Result, typename... Args>
auto withCamera(Result (*call)(Camera&, Args...)) {
  return [call](Owner& owner, Args... args) {
    const auto bound = [&](Camera& camera) { return call(camera, args...); };
    if constexpr (requires(Result result) { record(result); }) {
      return record(owner.use(bound));
    } else {
      return owner.use(bound);
    }
  };
}

void bindCamera(py::module_& module);
void bindCorrections(py::module_& module);

}  // namespace orvik::python
