// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "imaging/image.h"
#include "tools/orvikctl/capture/capture_report.h"
#include "tools/orvikctl/recording/frame_course.h"

namespace orvik::ctl {

/// A part of a recording: the camera was there all the time.
struct RecordedPart {
  std::filesystem::path file;  ///< of a SER or raw video; empty for a series and a stream
  FrameCourse course;
  std::int64_t lost = 0;    ///< frames
  imaging::ImageInfo info;  ///< of the last frame
};

/// The result of all parts. One without a frame is left out.
CaptureReport reportOf(const std::vector<RecordedPart>& parts,
                       std::vector<std::filesystem::path> files);

}  // namespace orvik::ctl
