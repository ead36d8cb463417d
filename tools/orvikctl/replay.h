// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orvik::ctl {

/// Has the library play a recording instead of looking at the USB bus, with settings that begin
/// empty and go with this run. Before the first look at cameras.
///
/// @throws Failure (kFileFailed) when there is no place for the settings
void replayRecording(const std::string& recording);

/// Gives the recorded cameras the settings that they had. After replayRecording().
///
/// @param settings a settings.json
/// @throws Failure (kFileFailed) when it cannot be read
void startReplayWith(const std::string& settings);

}  // namespace orvik::ctl
