// SPDX-License-Identifier: MIT
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace orvik::ctl {

/// How the program ends.
enum class ExitCode : int {
  kOk = 0,
  kFindings = 1,
  kUsage = 2,
  kNoCamera = 3,
  kOpenFailed = 4,
  kCameraFailed = 5,
  kFileFailed = 6,
  kInternal = 70,
  kInterrupted = 130,
};
inline constexpr int kHighestExitCode = 255;

/// What an exit code says, as `--help` lists it; "" for a number that is none. A switch, so that
/// the compiler names a code without a text.
constexpr std::string_view exitCodeText(ExitCode code) {
  switch (code) {
    case ExitCode::kOk:
      return "done";
    case ExitCode::kFindings:
      return "a check found something wrong";
    case ExitCode::kUsage:
      return "an option or a value was refused; nothing was done";
    case ExitCode::kNoCamera:
      return "no camera, or not the one that was named";
    case ExitCode::kOpenFailed:
      return "the camera could not be opened";
    case ExitCode::kCameraFailed:
      return "the camera failed, or sent no image in time";
    case ExitCode::kFileFailed:
      return "a file could not be read or written";
    case ExitCode::kInternal:
      return "a fault of this program";
    case ExitCode::kInterrupted:
      return "interrupted with Ctrl-C, SIGTERM or SIGHUP; what had been captured is kept";
  }
  return "";
}

/// Ends a command: a message that says what to do next, and the exit code.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

  [[nodiscard]] ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace orvik::ctl
