// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <mutex>

#include "state/frame_facts.h"

namespace orvik {

/// Which settings the camera had when. A setter notes what it has written, and when the camera had
/// acknowledged it; who has a frame learns which settings it was exposed with, which need not be
/// the present ones. Any thread.
class SettingsHistory {
 public:
  using Time = FrameFacts::Time;

  /// Notes the settings that the camera has from now on. Settings that it has already are not noted
  /// again.
  void note(const FrameSettings& settings, Time now);

  struct Exposed {
    FrameSettings settings;
    /// They had been in effect for `settleTime` when the exposure began, and were so to its end.
    bool isSettled = false;
  };
  /// The settings of an exposure that ended at `end` and lasted as long as they say: the last ones
  /// that were in effect when it began.
  /// @param earliest when the sensor was set running: no exposure began before, and settings that
  ///        it had then are settled
  /// @param settleTime a sensor takes new settings over at the start of a frame; by then an
  ///        exposure with the former ones can have begun
  [[nodiscard]] Exposed exposedUntil(Time end, Time earliest, Time settleTime) const;
  /// The same for an exposure whose beginning is known.
  [[nodiscard]] Exposed exposedFrom(Time start) const;

 private:
  struct Entry {
    FrameSettings settings;
    Time since{};
  };

  /// @param begin gives the beginning of an exposure with the settings of an entry
  /// @param settledBefore settings noted before are settled
  template <class Begin>
  [[nodiscard]] Exposed find(Begin begin, Time settledBefore, Time settleTime) const;

  mutable std::mutex mutex_;
  std::array<Entry, 32> entries_;  ///< the last ones, oldest overwritten
  std::size_t count_ = 0;          ///< ever noted
};

}  // namespace orvik
