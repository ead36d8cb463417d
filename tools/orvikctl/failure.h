// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>

namespace orvik::ctl {

/// How the program ends; `--help` lists the same numbers for the people who script it.
enum class ExitCode : int {
  kOk = 0,
  kFindings = 1,       ///< a check found something wrong
  kUsage = 2,          ///< an option or a value was refused; nothing was done
  kNoCamera = 3,       ///< no camera, or not the one that was named
  kOpenFailed = 4,     ///< the camera could not be opened
  kCameraFailed = 5,   ///< the camera failed, or sent no image in time
  kFileFailed = 6,     ///< a file could not be read or written
  kInternal = 70,      ///< a fault of this program
  kInterrupted = 130,  ///< Ctrl-C or SIGTERM; what had been captured is kept
};

/// Ends a command: a message that says what to do next, and the exit code.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

  [[nodiscard]] ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace orvik::ctl
