// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "link/vendor_link.h"
#include "seam/clock.h"

namespace orvik {

/// A sensor with a processor of its own: it takes commands, and keeps its settings as variables of
/// 16 bits. One conversation at a time; any thread. None lasts longer than its polls and requests:
/// 50 or 100 polls a millisecond apart.
class CommandSensor {
 public:
  enum class Command : std::uint8_t {
    kApply = 1,  ///< takes over the variables
    kStandby = 2,
    kRun = 3,
    kWriteVariable = 4,
    kReadVariable = 5,
  };
  enum class State : std::uint8_t {
    kUnknown = 0,  ///< the sensor does not answer
    kStandby = 1,
    kStreaming = 2,
    kChanging = 3,
  };

  /// @param clock to wait on between polls
  explicit CommandSensor(std::shared_ptr<seam::Clock> clock);

  /// Gives a command and waits until it has been carried out. @return false when it is not.
  bool issue(VendorLink& link, std::uint8_t command);
  bool issue(VendorLink& link, Command command) {
    return issue(link, static_cast<std::uint8_t>(command));
  }
  static State readState(VendorLink& link);
  /// Lets the written variables take effect. @return false when the sensor does not get done.
  bool apply(VendorLink& link);
  /// A written variable takes effect with the next apply().
  bool write(VendorLink& link, std::uint16_t address, std::uint16_t value);
  /// @param value 0 when the read fails
  bool read(VendorLink& link, std::uint16_t address, std::uint16_t& value);

  /// Held over what belongs together; the same thread may then call the above.
  [[nodiscard]] std::unique_lock<std::recursive_mutex> lock() { return std::unique_lock(mutex_); }

 private:
  const std::shared_ptr<seam::Clock> clock_;
  std::recursive_mutex mutex_;
};

}  // namespace orvik
