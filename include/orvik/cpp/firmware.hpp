// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <utility>

#include "orvik/cpp/controls.hpp"

namespace orvik {
inline namespace v0 {

/// @addtogroup cpp
/// @{

/// Is called with the progress of a long operation, on the thread that started it: bytes of this
/// step that are done, and all of them. It must not throw, nor use the same camera.
using ProgressCallback =
    std::function<void(Orvik_STEP step, std::int32_t done, std::int32_t total)>;

/// Reads a firmware file and describes it: OrvikCheckFirmwareFile(). Needs no camera.
inline Orvik_FIRMWARE_FILE checkFirmwareFile(const std::string& file, OnError onError = {}) {
  Orvik_FIRMWARE_FILE description{};
  const auto code = OrvikCheckFirmwareFile(file.c_str(), &description);
  onError.succeeded(code, [&] { return "reading " + file; });
  return description;
}

/// Firmware and flash of an open camera. Each function has the conditions, threads and errors of
/// the C function that its comment names.
class Firmware {
 public:
  explicit Firmware(std::shared_ptr<const OpenedCamera> camera) : camera_(std::move(camera)) {}

  /// OrvikGetFirmwareVersion().
  [[nodiscard]] Orvik_FIRMWARE_VERSION version(OnError onError = {}) const {
    Orvik_FIRMWARE_VERSION version{};
    done(OrvikGetFirmwareVersion(camera_->handle, &version), "reading its versions", onError);
    return version;
  }
  /// Loads firmware into the memory of the bridge and starts it: OrvikLoadFirmware().
  void load(const std::string& file, OnError onError = {}) const {
    done(OrvikLoadFirmware(camera_->handle, file.c_str()), "loading " + file, onError);
  }
  /// Writes firmware into the flash: OrvikFlashFirmware().
  void flash(const std::string& file, const ProgressCallback& progress = {},
             OnError onError = {}) const {
    done(OrvikFlashFirmware(camera_->handle, file.c_str(), callback(progress), context(progress)),
         "writing " + file, onError);
  }
  /// Compares the flash with firmware: OrvikVerifyFirmware().
  void verify(const std::string& file, const ProgressCallback& progress = {},
              OnError onError = {}) const {
    done(OrvikVerifyFirmware(camera_->handle, file.c_str(), callback(progress), context(progress)),
         "comparing the flash with " + file, onError);
  }
  /// Reads a part of the flash: OrvikReadFlash().
  void readFlash(std::uint32_t address, std::span<std::uint8_t> bytes,
                 const ProgressCallback& progress = {}, OnError onError = {}) const {
    done(OrvikReadFlash(camera_->handle, address, bytes.data(),
                        static_cast<std::int32_t>(bytes.size()), callback(progress),
                        context(progress)),
         "reading the flash", onError);
  }

 private:
  static Orvik_PROGRESS callback(const ProgressCallback& progress) {
    if (!progress) return nullptr;
    return [](void* context, Orvik_STEP step, std::int32_t done, std::int32_t total) {
      (*static_cast<const ProgressCallback*>(context))(step, done, total);
    };
  }
  static void* context(const ProgressCallback& progress) {
    return const_cast<ProgressCallback*>(&progress);
  }
  void done(Orvik_ERROR_CODE code, const std::string& what, OnError onError) const {
    onError.succeeded(code, [&] { return camera_->doing(what); });
  }

  std::shared_ptr<const OpenedCamera> camera_;
};

/// @}

}  // namespace v0
}  // namespace orvik
