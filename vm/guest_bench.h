// SPDX-License-Identifier: MIT
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "orvik/orvik.h"

namespace orvik::vm {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// The processor of the guest is emulated and slow.
inline constexpr auto kPatience = 30s;

inline std::string environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

template <class Condition>
bool waitFor(Condition condition, Clock::duration limit = kPatience) {
  for (const auto end = Clock::now() + limit; !condition();) {
    if (Clock::now() > end) return false;
    std::this_thread::sleep_for(20ms);
  }
  return true;
}

/// A camera on the bus of the guest while the object exists: plugged into the server on the host
/// through its console, and imported by the kernel of the guest.
class PluggedCamera {
 public:
  explicit PluggedCamera(const std::string& description)
      : before_(OrvikGetNumOfConnectedCameras()) {
    busId_ = command("plug " + description, " plugged");
    const std::string attach = environment("ORVIK_ATTACH") + " " + busId_ + " > /dev/null";
    EXPECT_EQ(std::system(attach.c_str()), 0);
    EXPECT_TRUE(waitFor([&] { return OrvikGetNumOfConnectedCameras() == before_ + 1; }))
        << description << " does not appear";
  }
  PluggedCamera(const PluggedCamera&) = delete;
  PluggedCamera& operator=(const PluggedCamera&) = delete;
  ~PluggedCamera() {
    if (!busId_.empty()) unplug();
    EXPECT_TRUE(waitFor([&] { return OrvikGetNumOfConnectedCameras() <= before_; }));
  }

  /// Returns when the server has unplugged it; the kernel notices that a moment later.
  void unplug() {
    command("unplug " + busId_, " unplugged");
    busId_.clear();
  }

 private:
  /// @return the first word of the answer of the server, which ends in `answerEnd`.
  static std::string command(const std::string& line, const std::string& answerEnd) {
    const std::string log = environment("ORVIK_SERVER_LOG");
    std::ifstream seen(log, std::ios::ate);
    const auto from = seen.tellg();
    std::ofstream(environment("ORVIK_CONSOLE"), std::ios::app) << line << '\n' << std::flush;
    std::string word;
    const bool answered = waitFor([&] {
      std::ifstream fresh(log);
      fresh.seekg(from);
      for (std::string answer; std::getline(fresh, answer);) {
        if (answer.ends_with(answerEnd)) word = answer.substr(0, answer.find(' '));
      }
      return !word.empty();
    });
    EXPECT_TRUE(answered) << "no answer to: " << line;
    return word;
  }

  const int before_;  ///< cameras on the bus
  std::string busId_;
};

/// An open camera; the destructor closes it.
class OpenCamera {
 public:
  explicit OpenCamera(int index) : index_(index) { EXPECT_EQ(OrvikOpenCamera(index_), Orvik_OK); }
  OpenCamera(const OpenCamera&) = delete;
  OpenCamera& operator=(const OpenCamera&) = delete;
  ~OpenCamera() { EXPECT_EQ(OrvikCloseCamera(index_), Orvik_OK); }

  [[nodiscard]] int index() const { return index_; }
  void set(Orvik_CONTROL_TYPE control, std::int32_t value) const {
    EXPECT_EQ(OrvikSetControlValue(index_, control, value, Orvik_FALSE), Orvik_OK);
  }
  /// Sets a format and allocates a buffer for its images.
  void format(int width, int height, int bin, IMG_TYPE type) {
    ASSERT_EQ(OrvikSetROIFormat(index_, width, height, bin, type), Orvik_OK);
    const int bytes = type == Orvik_IMG_RAW16 ? 2 : type == Orvik_IMG_RGB24 ? 3 : 1;
    image_.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) *
                  static_cast<std::size_t>(bytes));
  }
  Orvik_ERROR_CODE videoFrame(int waitMs = 30000) {
    return OrvikGetVideoData(index_, image_.data(), static_cast<std::int32_t>(image_.size()),
                             waitMs);
  }
  [[nodiscard]] int dropped() const {
    int count = -1;
    OrvikGetDroppedFrames(index_, &count);
    return count;
  }
  [[nodiscard]] const std::vector<unsigned char>& image() const { return image_; }
  std::vector<unsigned char>& image() { return image_; }

 private:
  const int index_;
  std::vector<unsigned char> image_;
};

}  // namespace orvik::vm
