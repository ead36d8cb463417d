// SPDX-License-Identifier: MIT
#pragma once

#include <string>

namespace orvik::ctl {

/// Makes the library replay a recording instead of using the USB bus, with settings that are empty
/// at first and removed at the end of this run. To be called before cameras are listed.
///
/// @throws Failure (kFileFailed) when there is no place for the settings
void replayRecording(const std::string& recording);

/// Gives the recorded cameras the settings that they had. After replayRecording().
///
/// @param settings a settings.json
/// @throws Failure (kFileFailed) when it cannot be read
void startReplayWith(const std::string& settings);

}  // namespace orvik::ctl
