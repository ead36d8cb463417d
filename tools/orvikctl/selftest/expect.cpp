// SPDX-License-Identifier: MIT
#include "tools/orvikctl/selftest/expect.h"

#include <array>
#include <sstream>

namespace orvik::ctl::selftest {

std::string codeName(Orvik_ERROR_CODE code) {
  static constexpr std::array kNames = {
      "OK",          "INFO_INDEX",     "CAMERA_INDEX",     "CONTROL",      "NO_CAMERA_OBJECT",
      "OPEN_FAILED", "DARK_FILE_PATH", "DARK_FILE_FORMAT", "ROI_SIZE",     "IMAGE_TYPE",
      "START_POS",   "NO_FRAME",       "RESERVED_12",      "BUFFER_SMALL", "VIDEO_RUNNING",
      "EXPOSING",    "DRIVER_FAILED"};
  const std::string number = std::to_string(static_cast<int>(code));
  const auto place = static_cast<std::size_t>(code);
  return place < kNames.size() ? std::string(kNames[place]) + " (" + number + ")" : number;
}

void expectCode(Orvik_ERROR_CODE expected, Orvik_ERROR_CODE came, const std::string& call) {
  if (came == expected) return;
  throw CheckFailure(call + ": expected " + codeName(expected) + ", came " + codeName(came));
}

void expectEqual(long long expected, long long came, const std::string& what) {
  if (came == expected) return;
  throw CheckFailure(what + ": expected " + std::to_string(expected) + ", came " +
                     std::to_string(came));
}

void expectWithin(double least, double most, double came, const std::string& what) {
  if (came >= least && came <= most) return;
  std::ostringstream text;
  text << what << ": expected " << least << " to " << most << ", came " << came;
  throw CheckFailure(text.str());
}

void expectThat(bool holds, const std::string& expected, const std::string& came) {
  if (!holds) throw CheckFailure("expected " + expected + ", came " + came);
}

}  // namespace orvik::ctl::selftest
