// SPDX-License-Identifier: MIT
#include "state/settings_history.h"

#include <algorithm>

namespace orvik {

void SettingsHistory::note(const FrameSettings& settings, Time now) {
  const std::lock_guard lock(mutex_);
  if (count_ > 0 && entries_[(count_ - 1) % entries_.size()].settings == settings) return;
  entries_[count_ % entries_.size()] = {settings, now};
  ++count_;
}

template <class Begin>
SettingsHistory::Exposed SettingsHistory::find(Begin begin, Time settledBefore,
                                               Time settleTime) const {
  const std::lock_guard lock(mutex_);
  const std::size_t known = std::min(count_, entries_.size());
  Exposed found;
  for (std::size_t back = 1; back <= known; ++back) {
    const Entry& entry = entries_[(count_ - back) % entries_.size()];
    const Time start = begin(entry.settings);
    found.settings = entry.settings;
    found.isSettled =
        back == 1 && (entry.since < settledBefore || start - entry.since >= settleTime);
    if (start >= entry.since) break;
  }
  return found;
}

SettingsHistory::Exposed SettingsHistory::exposedUntil(Time end, Time earliest,
                                                       Time settleTime) const {
  const auto begin = [end, earliest](const FrameSettings& settings) {
    return std::max(end - std::chrono::microseconds(settings.exposureUs), earliest);
  };
  return find(begin, earliest, settleTime);
}

SettingsHistory::Exposed SettingsHistory::exposedFrom(Time start) const {
  return find([start](const FrameSettings&) { return start; }, start, Time::zero());
}

}  // namespace orvik
