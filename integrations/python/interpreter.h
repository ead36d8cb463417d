// SPDX-License-Identifier: MIT
#pragma once

#include <pybind11/pybind11.h>

#include <chrono>
#include <optional>

namespace orvik::python {

namespace py = pybind11;

/// Releases the interpreter lock, for waits and for calls of the library, if this thread holds it.
class Unlocked {
 public:
  Unlocked() {
    if (PyGILState_Check() != 0) released_.emplace();
  }

 private:
  std::optional<py::gil_scoped_release> released_;
};

/// How long a wait may go on without looking for Ctrl-C.
inline constexpr std::chrono::milliseconds kSlice{50};

/// Runs the handlers of signals that have arrived, and throws what they raise: KeyboardInterrupt.
/// Handlers run on the main thread only; on others this does nothing.
inline void checkSignals() {
  const py::gil_scoped_acquire lock;
  if (PyErr_CheckSignals() != 0) throw py::error_already_set();
}

}  // namespace orvik::python
