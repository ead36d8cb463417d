// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>

#include "link/vendor_link.h"
#include "seam/clock.h"

namespace orvik {

/// A sensor with a processor of its own, which executes commands and has its settings in 16-bit
/// variables. One operation at a time; any thread. An operation takes at most 50 or 100 polls, a
/// millisecond apart, plus its requests.
class CommandSensor {
 public:
  enum class Command : std::uint8_t {
    kApply = 1,  ///< applies the variables
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

  /// @param clock for the pauses between polls
  explicit CommandSensor(std::shared_ptr<seam::Clock> clock);

  /// Issues a command and waits until it has been executed. @return false when it was not.
  bool issue(VendorLink& link, std::uint8_t command);
  bool issue(VendorLink& link, Command command) {
    return issue(link, static_cast<std::uint8_t>(command));
  }
  static State readState(VendorLink& link);
  /// Applies the written variables. @return false when the sensor does not finish.
  bool apply(VendorLink& link);
  /// Writes a variable, which takes effect with the next apply().
  bool write(VendorLink& link, std::uint16_t address, std::uint16_t value);
  /// @param value 0 when the read fails
  bool read(VendorLink& link, std::uint16_t address, std::uint16_t& value);

  /// Held during operations that belong together. The lock is recursive.
  [[nodiscard]] std::unique_lock<std::recursive_mutex> lock() { return std::unique_lock(mutex_); }

 private:
  const std::shared_ptr<seam::Clock> clock_;
  std::recursive_mutex mutex_;
};

}  // namespace orvik
