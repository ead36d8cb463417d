// SPDX-License-Identifier: MIT
#include "integrations/server/capture/capture_request.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "integrations/server/capture/file_names.h"

namespace orvik::server {
namespace {

template <typename Value, std::size_t kCount>
using Names = std::array<std::pair<std::string_view, Value>, kCount>;

constexpr Names<CaptureKind, 2> kKinds = {
    {{"images", CaptureKind::kImages}, {"video", CaptureKind::kVideo}}};
constexpr Names<CaptureFormat, 3> kFormats = {
    {{"fits", CaptureFormat::kFits}, {"png", CaptureFormat::kPng}, {"ser", CaptureFormat::kSer}}};
constexpr Names<FrameKind, 4> kFrameKinds = {{{"light", FrameKind::kLight},
                                              {"dark", FrameKind::kDark},
                                              {"flat", FrameKind::kFlat},
                                              {"bias", FrameKind::kBias}}};

template <typename Value, std::size_t kCount>
std::optional<Value> valueOf(const Names<Value, kCount>& names, std::string_view name) {
  for (const auto& [text, value] : names) {
    if (text == name) return value;
  }
  return std::nullopt;
}

template <typename Value, std::size_t kCount>
std::string_view textOf(const Names<Value, kCount>& names, Value value) {
  const auto found = std::find_if(names.begin(), names.end(),
                                  [value](const auto& one) { return one.second == value; });
  return found == names.end() ? "?" : found->first;
}

using Seconds = CaptureRequest::Seconds;

/// False also for what is not a number.
bool isWithin(Seconds value, double least, double most) {
  return value.count() >= least && value.count() <= most;
}

/// A sentence, or "" if nothing is wrong.
std::string textOfFault(const CaptureRequest& request) {
  constexpr double kWeek = 7 * 24 * 3600.0;
  constexpr double kMicrosecond = 1e-6;
  constexpr std::size_t kLongestObject = 68;  // what a line of a FITS header holds
  const bool isVideo = request.kind == CaptureKind::kVideo;
  if (isVideo != (request.format == CaptureFormat::kSer)) {
    return isVideo ? "A video is written as SER." : "Images are written as FITS or PNG.";
  }
  if (request.count &&
      (*request.count < 1 || *request.count > std::numeric_limits<std::int32_t>::max())) {
    return "The number of images is at least 1 and at most 2147483647.";
  }
  if (!isVideo && request.length) return "A length is for videos only.";
  if (request.length && !isWithin(*request.length, kMicrosecond, kWeek)) {
    return "A video is longer than 0 s and at most a week long.";
  }
  if (!isWithin(request.interval, 0, kWeek)) return "An interval is 0 s to a week.";
  if (request.exposure && !isWithin(*request.exposure, kMicrosecond, kWeek)) {
    return "An exposure takes more than 0 s.";
  }
  if (beginningOf(request.name).empty()) {
    return "A file name has at most 120 letters, none of / \\ < > : \" | ? *, and no dot at its "
           "beginning.";
  }
  if (request.object.size() > kLongestObject) return "The object's name is too long.";
  return {};
}

}  // namespace

std::optional<CaptureKind> captureKindNamed(std::string_view name) { return valueOf(kKinds, name); }
std::optional<CaptureFormat> captureFormatNamed(std::string_view name) {
  return valueOf(kFormats, name);
}
std::optional<FrameKind> frameKindNamed(std::string_view name) {
  return valueOf(kFrameKinds, name);
}
std::string_view nameOf(CaptureKind kind) { return textOf(kKinds, kind); }
std::string_view nameOf(CaptureFormat format) { return textOf(kFormats, format); }
std::string_view nameOf(FrameKind kind) { return textOf(kFrameKinds, kind); }

Outcome faultOf(const CaptureRequest& request) {
  std::string text = textOfFault(request);
  if (text.empty()) return std::nullopt;
  return Failure{.kind = Failure::Kind::kBadValue, .message = std::move(text)};
}

}  // namespace orvik::server
