// SPDX-License-Identifier: MIT
#include "tools/orvikctl/replay.h"

#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/scratch_folder.h"

namespace orvik::ctl {
namespace {

namespace fs = std::filesystem;

/// Used instead of the user's configuration folder during this run.
const fs::path& configurations() {
  static const ScratchFolder folder;
  return folder.path();
}

}  // namespace

void replayRecording(const std::string& recording) {
  setenv("XDG_CONFIG_HOME", configurations().c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  setenv("ORVIK_REPLAY", recording.c_str(), 1);            // NOLINT(concurrency-mt-unsafe)
}

void startReplayWith(const std::string& settings) {
  const fs::path folder = configurations() / "orvik" / "replay";
  std::error_code error;
  fs::create_directories(folder, error);
  if (!error) fs::copy_file(settings, folder / "settings.json", error);
  if (error) throw Failure(ExitCode::kFileFailed, settings + ": " + error.message() + ".");
}

}  // namespace orvik::ctl
