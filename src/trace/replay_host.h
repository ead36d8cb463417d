// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "trace/play.h"

namespace orvik::trace {

/// A host that plays a recording to a driver, at the driver's own pace.
///
/// A device's openings are played in the order of the recording; looks at what is plugged in are
/// free. A control transfer is answered as the next recorded one with the same setup and the same
/// data to the device; those that a driver's threads may exchange are found a little further on.
/// Where there is none, the driver has departed: the transfer stalls. Bulk reads get what was
/// recorded, in order; of a recording that kept only the ends of a read, the middle is 0. After the
/// last one reads are not answered any more. Any thread.
class ReplayHost final : public seam::Host {
 public:
  /// @param listener hears of each departure when it comes, on the thread that departs
  explicit ReplayHost(Conversation conversation,
                      std::function<void(const std::string&)> listener = {});
  ~ReplayHost() override;

  /// What the driver did otherwise so far; requests that it left out count once its device is
  /// closed.
  [[nodiscard]] std::vector<std::string> departures() const { return departures_->list(); }

  std::vector<seam::DeviceInfo> devices() override;
  std::unique_ptr<seam::Port> open(const seam::DeviceInfo& device) override;
  /// Apart from those of real cameras, which a replay must not change.
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

/// The replay that the environment asks for: ORVIK_REPLAY names a recording. The first departures
/// are told on the standard error stream.
/// @return null when none is asked for; a host without devices when the recording cannot be read
std::shared_ptr<seam::Host> replayOnRequest();

}  // namespace orvik::trace
