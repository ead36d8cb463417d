// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <stop_token>
#include <string>

#include "imaging/cooling_run.h"
#include "interpreter.h"
#include "orvik/orvik.hpp"

namespace orvik::python {

/// An error for which the package has a class that does not follow from the library's code.
struct NamedError : Error {
  NamedError(const char* named, Orvik_ERROR_CODE code, const std::string& text)
      : Error(code, text), name(named) {}
  const char* name;
};

/// An open camera: Python's CameraBase. In a Python program any thread may close it at any time, so
/// every call goes through use(), which close() waits for. The functions release the interpreter
/// lock.
class Session {
 public:
  explicit Session(const std::string& identity);
  ~Session() { close(); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Ends what other threads wait for, and closes the camera.
  void close() noexcept;

  /// Properties that stay after closing.
  [[nodiscard]] const std::string& label() const { return label_; }
  [[nodiscard]] const Orvik_CAMERA_INFO& info() const { return info_; }

  /// Calls a function with the camera, which stays open meanwhile.
  template <typename Call>
  auto use(Call call) {
    const Unlocked unlocked;
    const std::shared_lock inUse(closing_);
    requireOpen();
    try {
      return call(camera_);
    } catch (const Error& error) {
      throwIfUnplugged(error);
      throw;
    }
  }
  /// The same for functions that release something: the camera may have been closed.
  template <typename Call>
  void release(Call call) noexcept {
    const Unlocked unlocked;
    const std::shared_lock inUse(closing_);
    call(camera_);
  }
  /// The same for functions that wait: close() and Ctrl-C stop the token.
  void wait(const std::function<void(Camera&, const std::stop_token&)>& call);
  /// For loops that wait inside use(): throws when the camera is being closed, and what the
  /// handlers of signals raise.
  void goOn() const;

  /// Takes a single exposure.
  std::shared_ptr<Frame> snap();
  /// For what delivers images, which only one thread may do at a time; the others get an Error.
  [[nodiscard]] std::unique_lock<std::mutex> claimImages();
  /// The ramp of the cooler, for use inside use().
  imaging::CoolingRun& cooling() { return cooling_; }

 private:
  void requireOpen() const;
  void throwIfUnplugged(const Error& error) const;

  Camera camera_;
  std::string label_;
  Orvik_CAMERA_INFO info_{};
  imaging::CoolingRun cooling_{camera_};
  std::shared_mutex closing_;
  std::mutex images_;
  std::atomic<bool> isClosing_ = false;
};

}  // namespace orvik::python
