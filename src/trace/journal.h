// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <string_view>

#include "trace/conversation.h"

namespace orvik::trace {

/// The file of a recording, written line by line. Any thread.
class Journal {
 public:
  explicit Journal(std::FILE* file) : file_(file) { write("orvik-conversation 1"); }
  ~Journal() { std::fclose(file_); }
  Journal(const Journal&) = delete;
  Journal& operator=(const Journal&) = delete;

  /// A new number for an opening of a device.
  std::uint32_t newId() { return ++lastId_; }

  /// Writes each device once, even if it is listed several times.
  void device(const seam::DeviceInfo& device);
  void open(std::uint32_t id, const seam::DeviceLocation& location, const seam::Port* port);
  void claim(std::uint32_t id, std::uint8_t interface, bool ok);
  void control(std::uint32_t id, const ControlEvent& event);
  /// @param data received data, of which all or both ends are written
  void bulk(std::uint32_t id, const BulkEvent& event, std::span<const std::uint8_t> data,
            bool whole);
  /// `kind` is "clear", "reset" or "close".
  void other(std::string_view kind, std::uint32_t id, std::string_view rest = {});

 private:
  void write(const std::string& line);
  /// Microseconds since the recording began.
  [[nodiscard]] std::string now() const;

  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::atomic<std::uint32_t> lastId_{0};
  std::mutex mutex_;
  std::set<std::string> listed_;  ///< device lines written so far
  std::FILE* const file_;
};

}  // namespace orvik::trace
