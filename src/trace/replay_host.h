// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "trace/play.h"

namespace orvik::trace {

/// A host that plays a recording to a driver, at the pace of the driver.
///
/// The openings of a device are played in the order of the recording, except those that only read
/// descriptors. A control transfer is answered with the next recorded one that has the same setup
/// and the same data to the device. The search goes a little ahead, since threads of a driver may
/// run in another order. If there is none, that is a departure, and the transfer stalls. Bulk reads
/// return the recorded data in order; if only the ends of a read were recorded, the middle is 0.
/// After the last one, reads are no longer answered. Any thread.
class ReplayHost final : public seam::Host {
 public:
  /// @param listener called for each departure, on the thread that departs
  explicit ReplayHost(Conversation conversation,
                      std::function<void(const std::string&)> listener = {});
  ~ReplayHost() override;

  /// The departures so far; requests that the driver left out are reported when its device is
  /// closed.
  [[nodiscard]] std::vector<std::string> departures() const { return departures_->list(); }

  std::vector<seam::DeviceInfo> devices() override;
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override;
  /// Separate from that of real cameras, whose settings a replay must not change.
  [[nodiscard]] std::string settingsFolder() const override { return "replay"; }

 private:
  struct Place {
    seam::DeviceLocation location;
    std::shared_ptr<DevicePlay> play;
  };

  const std::vector<seam::DeviceInfo> devices_;
  const std::shared_ptr<Departures> departures_;
  std::vector<Place> places_;
};

/// The replay that the environment requests: ORVIK_REPLAY names a recording. The first departures
/// are reported on the standard error stream.
/// @return null when none is requested; a host without devices when the recording cannot be read
std::shared_ptr<seam::Host> replayOnRequest();

}  // namespace orvik::trace
