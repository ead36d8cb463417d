// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/stl.h>

#include <memory>

#include "records.h"
#include "session.h"

namespace orvik::python {

/// What Python code holds of a part of a camera.
struct CameraPart {
  std::shared_ptr<Session> session;
};
struct DarkPart : CameraPart {};
struct HotPixelPart : CameraPart {};

/// Calls a function with the open camera. What it returns becomes a record if there is one for it.
template <typename Call>
auto callRecorded(Session& session, Call call) {
  if constexpr (requires { record(session.use(call)); }) {
    return record(session.use(call));
  } else {
    return session.use(call);
  }
}

/// A method that calls a function with the open camera.
template <typename Result, typename... Args>
auto method(Result (*call)(Camera&, Args...)) {
  return [call](Session& session, Args... args) {
    return callRecorded(session, [&](Camera& camera) { return call(camera, args...); });
  };
}
/// The same for its dark frame.
template <typename Result, typename... Args>
auto method(Result (*call)(const DarkFrame&, Args...)) {
  return [call](DarkPart& part, Args... args) {
    return callRecorded(*part.session,
                        [&](Camera& camera) { return call(camera.dark(), args...); });
  };
}
/// The same for its hot pixels.
template <typename Result, typename... Args>
auto method(Result (*call)(const HotPixels&, Args...)) {
  return [call](HotPixelPart& part, Args... args) {
    return callRecorded(*part.session,
                        [&](Camera& camera) { return call(camera.hotPixels(), args...); });
  };
}

void bindCamera(py::module_& module);
void bindCorrections(py::module_& module);

}  // namespace orvik::python
