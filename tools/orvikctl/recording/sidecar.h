// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "orvik/orvik.hpp"
#include "tools/orvikctl/recording/recorded_part.h"

namespace orvik::ctl {

/// Names and values in the order in which they are written.
using Entries = std::vector<std::pair<std::string, std::string>>;

/// The settings of a camera for a text beside its video. What it does not have is left out.
Entries settingEntries(const Camera& camera);

/// The text beside a video: the camera's name in brackets, then a line "Name=value" for each fact.
/// Facts that are not known are left out.
///
/// @param settings as settingEntries() has read them when the part began
/// @param more further facts
std::string sidecarText(const RecordedPart& part, const Entries& settings, const Entries& more);

/// A text beside a video. It is rewritten every few seconds, so that a crash leaves one.
class Sidecar {
 public:
  /// @throws imaging::FileExists unless the file may be created or replaced
  Sidecar(std::filesystem::path file, bool overwrite);

  /// Whether it is time to write it again.
  [[nodiscard]] bool isDue() const { return Clock::now() >= due_; }
  /// @throws imaging::FileError
  void write(const std::string& text);

 private:
  using Clock = std::chrono::steady_clock;

  std::filesystem::path file_;
  Clock::time_point due_;
};

}  // namespace orvik::ctl
