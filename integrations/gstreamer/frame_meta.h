// SPDX-License-Identifier: MIT
#pragma once

#include <gst/gst.h>

#include <cstdint>

#include "orvik/orvik.hpp"

namespace orvik::gst {

/// The name of the custom meta that every buffer carries; docs/gstreamer.md lists its fields.
inline constexpr const char* kFrameMeta = "GstOrvikFrameMeta";

/// Registers the meta; once per process.
void registerFrameMeta();

/// Attaches the facts about a frame, and the start of its exposure in UTC as a reference time
/// stamp.
///
/// @param number of the frame since the source was started, lost ones included
/// @param lost frames lost since the previous buffer
void addFrameMeta(GstBuffer* buffer, const Orvik_CAMERA_INFO& camera, const FrameInfo& info,
                  std::int64_t number, std::int64_t lost);

}  // namespace orvik::gst
