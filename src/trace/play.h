// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "trace/conversation.h"

namespace orvik::trace {

/// The departures of a driver from a recording. Any thread.
class Departures {
 public:
  /// @param listener called for each departure, one at a time
  explicit Departures(std::function<void(const std::string&)> listener)
      : listener_(std::move(listener)) {}

  void add(std::string what);
  /// One sentence for each departure, in the order in which they occurred.
  [[nodiscard]] std::vector<std::string> list() const;

 private:
  const std::function<void(const std::string&)> listener_;
  mutable std::mutex mutex_;
  std::vector<std::string> list_;
};

/// The playback of the recording of one device. Any thread.
///
/// A program may list devices as often as it likes: openings in which only descriptors were read
/// are not played one by one. Descriptors are answered in the order of the recording, and with the
/// last answer when there are no more.
class DevicePlay {
 public:
  DevicePlay(std::vector<Opening> openings, std::shared_ptr<Departures> departures);

  /// @return false when the device could not be opened at this point of the recording.
  bool open();
  [[nodiscard]] seam::Speed speed() const { return speed_; }
  /// @return the answer to a standard request; null when the recording has none.
  const ControlEvent* describe(const seam::SetupPacket& setup, std::size_t length);
  /// @return the next opening that is not a look (see Opening::isLook()); nothing at the end.
  std::optional<Opening> takeOpening();
  /// A port was closed after a look.
  void endLook();
  [[nodiscard]] Departures& departures() { return *departures_; }

 private:
  using Question =
      std::tuple<std::uint8_t, std::uint8_t, std::uint16_t, std::uint16_t, std::size_t>;
  struct Answers {
    std::vector<ControlEvent> events;
    std::size_t next = 0;
  };

  seam::Speed speed_ = seam::Speed::kUnknown;
  const std::shared_ptr<Departures> departures_;
  std::mutex mutex_;
  std::map<Question, Answers> answers_;
  std::deque<Opening> ahead_;
};

/// The playback of one opening of a device. Any thread.
class Play {
 public:
  explicit Play(std::shared_ptr<DevicePlay> device) : device_(std::move(device)) {}
  ~Play();
  Play(const Play&) = delete;
  Play& operator=(const Play&) = delete;

  [[nodiscard]] seam::Speed speed() const { return device_->speed(); }
  bool claim();
  /// @return null when the recording has no such request at this point.
  const ControlEvent* next(const seam::SetupPacket& setup, std::span<const std::uint8_t> data);
  /// @return null when the recording has no further read of this endpoint.
  const BulkEvent* nextRead(std::uint8_t endpoint);

 private:
  const Opening& opening();
  void tell(std::size_t line, const char* what, const seam::SetupPacket& setup);

  const std::shared_ptr<DevicePlay> device_;
  std::mutex mutex_;
  std::optional<Opening> opening_;  ///< empty during a look
  std::size_t first_ = 0;           ///< first request that may not have been played yet
  std::vector<bool> played_;
  std::map<std::uint8_t, std::size_t> reads_;
};

}  // namespace orvik::trace
