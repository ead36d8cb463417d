// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>

#include "cooling_run.h"
#include "orvik/orvik.hpp"

namespace orvik::python {

/// The device of an open camera is no longer plugged in.
class Unplugged : public Error {
 public:
  using Error::Error;
};

/// The camera has been closed by the program.
class Closed : public Error {
 public:
  using Error::Error;
};

/// An open camera, shared by the Python objects that use it. In a Python program any thread may
/// close it at any time, so every call goes through use(), which close() waits for. All functions
/// are called without the interpreter lock.
class Session {
 public:
  explicit Session(const std::string& identity);
  ~Session() { close(); }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// Ends what other threads wait for, and closes the camera.
  void close() noexcept;
  /// Calls a function with the ramp of the cooler; without one it begins a ramp if `isNew`.
  template <typename Call>
  auto useCooling(bool isNew, Call call) {
    return use([&](Camera& camera) {
      const std::lock_guard lock(coolingChanges_);
      if (isNew && !cooling_) cooling_.emplace(camera);
      return call(cooling_);
    });
  }
  /// Properties that stay after closing.
  [[nodiscard]] const std::string& label() const { return label_; }
  [[nodiscard]] const Orvik_CAMERA_INFO& info() const { return info_; }
  /// @throws Closed after close() has begun
  void requireOpen() const;

  /// Calls a function with the camera, which stays open meanwhile.
  template <typename Call>
  auto use(Call call) {
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
    const std::shared_lock inUse(closing_);
    call(camera_);
  }
  /// The same for functions that deliver images, which only one thread may do at a time.
  template <typename Call>
  auto useFrames(Call call) {
    const std::unique_lock alone(frames_, std::try_to_lock);
    if (!alone) {
      throw Error(Orvik_ERROR_EXPOSING, label_ + ": another thread waits for an image");
    }
    return use(call);
  }

 private:
  void throwIfUnplugged(const Error& error) const;

  Camera camera_;
  std::string label_;
  Orvik_CAMERA_INFO info_{};
  std::shared_mutex closing_;
  std::mutex frames_;
  std::mutex coolingChanges_;
  std::optional<CoolingRun> cooling_;
  std::atomic<bool> isClosing_ = false;
};

}  // namespace orvik::python
