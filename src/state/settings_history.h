// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <mutex>

#include "state/frame_facts.h"

namespace orvik {

/// The settings of the camera over time. A setter records the settings that it has written and when
/// the camera acknowledged them. From that follow the settings with which a frame was exposed,
/// which need not be the present ones. Any thread.
class SettingsHistory {
 public:
  using Time = FrameFacts::Time;

  /// Records the settings that the camera has from now on. Unchanged settings are not recorded
  /// again.
  void note(const FrameSettings& settings, Time now);

  struct Exposed {
    FrameSettings settings;
    /// They had been in effect for `settleTime` when the exposure began, and still were at its end.
    bool isSettled = false;
  };
  /// The settings of an exposure that ended at `end` and lasted as long as those settings say: the
  /// last ones that were in effect when it began.
  /// @param earliest when the sensor was started: no exposure began earlier, and the settings at
  ///        that time are settled
  /// @param settleTime a sensor applies new settings at the start of a frame; by then an exposure
  ///        with the former ones can have begun
  [[nodiscard]] Exposed exposedUntil(Time end, Time earliest, Time settleTime) const;
  /// The same for an exposure whose beginning is known.
  [[nodiscard]] Exposed exposedFrom(Time start) const;

 private:
  struct Entry {
    FrameSettings settings;
    Time since{};
  };

  /// @param begin returns the beginning of an exposure with the settings of an entry
  /// @param settledBefore settings recorded before this time are settled
  template <class Begin>
  [[nodiscard]] Exposed find(Begin begin, Time settledBefore, Time settleTime) const;

  mutable std::mutex mutex_;
  std::array<Entry, 32> entries_;  ///< ring buffer of the last entries
  std::size_t count_ = 0;          ///< entries recorded so far
};

}  // namespace orvik
