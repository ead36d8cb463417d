// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "integrations/server/camera/failure.h"

namespace orvik::server {

enum class CaptureKind { kImages, kVideo };
enum class CaptureFormat { kFits, kPng, kSer };
enum class FrameKind { kLight, kDark, kFlat, kBias };

/// @name The names of these in messages: "images", "fits", "light"
/// @{
std::optional<CaptureKind> captureKindNamed(std::string_view name);
std::optional<CaptureFormat> captureFormatNamed(std::string_view name);
std::optional<FrameKind> frameKindNamed(std::string_view name);
std::string_view nameOf(CaptureKind kind);
std::string_view nameOf(CaptureFormat format);
std::string_view nameOf(FrameKind kind);
/// @}

/// What is to be captured.
struct CaptureRequest {
  using Seconds = std::chrono::duration<double>;

  CaptureKind kind = CaptureKind::kImages;
  CaptureFormat format = CaptureFormat::kFits;  ///< of images FITS or PNG, of a video SER
  std::optional<std::int64_t> count{};          ///< of images or frames; empty: until it is stopped
  std::optional<Seconds> length{};              ///< of a video; empty: until it is stopped
  Seconds interval{0};                          ///< of images, from start to start; 0: none
  std::optional<Seconds> exposure{};            ///< empty: that of the live view
  /// Beginning of the file names: "moon" leads to moon_0001.fits, or to moon.ser and moon-2.ser.
  /// Numbers continue where those of existing files end. Empty: "capture".
  std::string name{};
  std::string object{};  ///< what the images show; may be empty
  FrameKind frameKind = FrameKind::kLight;
};

/// Why nothing could be captured as requested, whatever the camera.
Outcome faultOf(const CaptureRequest& request);

}  // namespace orvik::server
