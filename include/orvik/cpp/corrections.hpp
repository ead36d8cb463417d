// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "orvik/cpp/controls.hpp"

namespace orvik {
inline namespace v0 {

/// @addtogroup cpp
/// @{

/// The dark frame of an open camera, which is subtracted from 8-bit images. Any thread. Each
/// function has the conditions and errors of the C function that its comment names.
class DarkFrame {
 public:
  explicit DarkFrame(std::shared_ptr<const OpenedCamera> camera) : camera_(std::move(camera)) {}

  /// Loads a bitmap and subtracts it from now on: OrvikEnableDarkSubtract().
  void load(std::string file, OnError onError = {}) const {
    Orvik_BOOL load = Orvik_TRUE;
    done(OrvikEnableDarkSubtract(camera_->handle, file.data(), &load), "loading " + file, onError);
  }
  /// Ends the subtraction and forgets the file: OrvikDisableDarkSubtract().
  void disable(OnError onError = {}) const {
    done(OrvikDisableDarkSubtract(camera_->handle), "ending dark subtraction", onError);
  }
  /// Begins to average the next frames: OrvikStartDarkRecording().
  /// @return how many frames are needed
  int startRecording(OnError onError = {}) const {
    int wanted = 0;
    done(OrvikStartDarkRecording(camera_->handle, &wanted), "recording a dark frame", onError);
    return wanted;
  }
  /// OrvikStopDarkRecording().
  void stopRecording(OnError onError = {}) const {
    done(OrvikStopDarkRecording(camera_->handle), "cancelling a dark frame", onError);
  }
  /// OrvikGetDarkRecording().
  [[nodiscard]] Orvik_DARK_RECORDING recording(OnError onError = {}) const {
    Orvik_DARK_RECORDING recording{};
    done(OrvikGetDarkRecording(camera_->handle, &recording), "recording a dark frame", onError);
    return recording;
  }
  /// Saves the dark frame as a bitmap: OrvikSaveDark().
  void save(const std::string& file, OnError onError = {}) const {
    done(OrvikSaveDark(camera_->handle, file.c_str()), "writing " + file, onError);
  }
  /// Switches the subtraction on or off: OrvikUseDark().
  void use(bool on, OnError onError = {}) const {
    done(OrvikUseDark(camera_->handle, on ? Orvik_TRUE : Orvik_FALSE), "using the dark frame",
         onError);
  }
  /// OrvikGetDarkInfo().
  [[nodiscard]] Orvik_DARK_INFO info(OnError onError = {}) const {
    Orvik_DARK_INFO info{};
    done(OrvikGetDarkInfo(camera_->handle, &info), "asking about the dark frame", onError);
    return info;
  }

 private:
  void done(Orvik_ERROR_CODE code, const std::string& what, OnError onError) const {
    onError.succeeded(code, [&] { return camera_->doing(what); });
  }

  std::shared_ptr<const OpenedCamera> camera_;
};

/// The hot pixels of an open camera. Each function has the conditions, threads and errors of the C
/// function that its comment names.
class HotPixels {
 public:
  explicit HotPixels(std::shared_ptr<const OpenedCamera> camera) : camera_(std::move(camera)) {}

  /// Finds them in the dark frame: OrvikDetectHotPixels().
  /// @return how many there are
  int detect(OnError onError = {}) const {  // NOLINT(modernize-use-nodiscard)
    int count = 0;
    done(OrvikDetectHotPixels(camera_->handle, &count), "looking for hot pixels", onError);
    return count;
  }
  /// Marks a pixel as hot or as good: OrvikMarkHotPixel().
  void mark(Orvik_PIXEL pixel, bool isHot, OnError onError = {}) const {
    done(OrvikMarkHotPixel(camera_->handle, pixel, isHot ? Orvik_TRUE : Orvik_FALSE),
         "marking a hot pixel", onError);
  }
  /// Writes the table into the camera's flash: OrvikSaveHotPixels().
  void save(OnError onError = {}) const {
    done(OrvikSaveHotPixels(camera_->handle), "writing the table of hot pixels", onError);
  }
  /// Reads the table from the camera's flash: OrvikLoadHotPixels().
  /// @return how many there are
  int load(OnError onError = {}) const {  // NOLINT(modernize-use-nodiscard)
    int count = 0;
    done(OrvikLoadHotPixels(camera_->handle, &count), "reading the table of hot pixels", onError);
    return count;
  }
  /// Switches the correction on or off: OrvikUseHotPixels().
  void use(bool on, OnError onError = {}) const {
    done(OrvikUseHotPixels(camera_->handle, on ? Orvik_TRUE : Orvik_FALSE), "correcting hot pixels",
         onError);
  }
  /// OrvikGetHotPixelInfo().
  [[nodiscard]] Orvik_HOT_PIXEL_INFO info(OnError onError = {}) const {
    Orvik_HOT_PIXEL_INFO info{};
    done(OrvikGetHotPixelInfo(camera_->handle, &info), "asking about hot pixels", onError);
    return info;
  }
  /// Lists them row by row: OrvikGetHotPixels().
  [[nodiscard]] std::vector<Orvik_PIXEL> list(OnError onError = {}) const {
    std::vector<Orvik_PIXEL> pixels;
    int count = 0;
    do {  // again when pixels were marked between the two calls
      pixels.resize(static_cast<std::size_t>(count));
      const auto code = OrvikGetHotPixels(camera_->handle, pixels.data(),
                                          static_cast<int>(pixels.size()), &count);
      if (!done(code, "listing the hot pixels", onError)) return {};
    } while (static_cast<std::size_t>(count) > pixels.size());
    pixels.resize(static_cast<std::size_t>(count));
    return pixels;
  }

 private:
  bool done(Orvik_ERROR_CODE code, const char* what, OnError onError) const {
    return onError.succeeded(code, [&] { return camera_->doing(what); });
  }

  std::shared_ptr<const OpenedCamera> camera_;
};

/// @}

}  // namespace v0
}  // namespace orvik
