// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <vector>

#include "seam/usb_host.h"
#include "sim/fault/script.h"
#include "sim/random.h"

namespace orvik::fault {

class Flight;
class Opening;

/// What happens to one event.
struct Strike {
  Action action = Action::kFail;
  std::int32_t amount = 0;  ///< the rule's amount, with a random part of its spread

  /// Changes the data of a read as the action does. Parameters and result are those of Edit.
  std::size_t edited(std::span<std::uint8_t> data, std::size_t received,
                     std::span<const std::uint8_t> last) const;

  friend bool operator==(const Strike&, const Strike&) = default;
};

/// The faults of one device: its script, its counts of events, and whether the device is present.
///
/// Each rule counts its target's events from the moment at which the script was set. Any thread; no
/// other object is called while the lock is held.
class Faults : public std::enable_shared_from_this<Faults> {
 public:
  /// @param changes notified when the device is unplugged and when it comes back; may be null
  explicit Faults(Script script = {}, std::shared_ptr<seam::ChangeCount> changes = nullptr);
  ~Faults();
  Faults(const Faults&) = delete;
  Faults& operator=(const Faults&) = delete;

  /// Starts a script. A halted pipe stays halted, and an unplugged device stays unplugged.
  void setScript(Script script);

  /// How many events a kind of fault has affected so far, in all scripts.
  [[nodiscard]] std::uint64_t struck(Action action) const;

  /// Whether the device is plugged in. A replugged device is back when its time has passed.
  bool present();
  /// How often the device has come back, each time at a new address.
  unsigned replugs();

  /// Opens the device through `openInner`, whose port then follows the script.
  /// @return null when the script or `openInner` refuses, or the device is gone.
  std::unique_ptr<seam::Port> open(const std::function<std::unique_ptr<seam::Port>()>& openInner);

  // For the device's ports and transfers.

  /// Counts an event and returns what happens to it. An unplug is complete when this returns.
  std::optional<Strike> next(Target target, std::uint8_t request = 0);
  void add(const std::shared_ptr<Flight>& flight);
  void halt(std::uint8_t endpoint);
  void clearHalt(std::uint8_t endpoint);
  bool isHalted(std::uint8_t endpoint);
  /// Changes the data of a read as `strike` says, and keeps the original for the next read.
  /// @param data the whole buffer
  /// @return how much of it counts as received
  std::size_t edit(const std::optional<Strike>& strike, std::span<std::uint8_t> data,
                   std::size_t received);

 private:
  using Clock = std::chrono::steady_clock;

  struct Counted {
    Rule rule;
    std::uint64_t events = 0;
  };

  bool strikes(const Counted& counted);
  void unplug(std::optional<Clock::time_point> back);

  const std::shared_ptr<seam::ChangeCount> changes_;
  mutable std::mutex mutex_;
  std::vector<Counted> rules_;
  sim::Random random_{1};
  bool keepsReads_ = false;  ///< a rule needs the data of the previous read
  std::vector<std::uint8_t> lastRead_;
  std::array<std::uint64_t, kActions> struck_{};
  std::vector<std::weak_ptr<Flight>> flights_;
  std::vector<std::weak_ptr<Opening>> openings_;
  std::set<std::uint8_t> halted_;
  bool gone_ = false;
  std::optional<Clock::time_point> back_;
  unsigned replugs_ = 0;
};

}  // namespace orvik::fault
