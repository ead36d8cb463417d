// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <stop_token>

#include "orvik/orvik.hpp"

namespace orvik::imaging {

/// How cooling stands at a moment.
struct CoolingSample {
  double seconds = 0;      ///< since cooling began
  double temperature = 0;  ///< of the sensor, degrees Celsius
  int target = 0;          ///< where the ramp is, degrees Celsius
  int power = 0;           ///< percent
  Orvik_COOLER_FAULT fault =
      Orvik_COOLER_NO_FAULT;  ///< if any, `temperature` is the last valid one
};

/// Moves a camera's temperature along ramps, so that neither cooling nor warming up strains the
/// sensor. The destructor switches the cooler off.
class Cooling {
 public:
  /// Is called about once a second, on the thread that called lead() or warmUp().
  using Report = std::function<void(const CoolingSample&)>;

  /// @param camera has a cooler, and exists as long as this object
  /// @throws Error if the temperature cannot be read
  explicit Cooling(Camera& camera, Report report = {});
  ~Cooling();
  Cooling(const Cooling&) = delete;
  Cooling& operator=(const Cooling&) = delete;

  /// Moves from the sensor's temperature to another one, and holds it.
  ///
  /// @param to degrees Celsius
  /// @param degreesPerMinute above 0
  /// @param seconds when to return; without it, at a stop only
  /// @return false when a stop was requested
  /// @throws Error if the camera fails
  bool lead(double to, double degreesPerMinute, std::optional<double> seconds,
            const std::stop_token& stop);
  /// Moves back to the temperature before cooling. The rest as lead().
  bool warmUp(double degreesPerMinute, const std::stop_token& stop);

  /// The camera has been opened again, with its cooler off: the next ramp switches it on.
  void reopened() { target_.reset(); }

  /// The temperature before cooling.
  [[nodiscard]] double startedAt() const { return startedAt_; }
  [[nodiscard]] const CoolingSample& last() const { return last_; }

 private:
  using Clock = std::chrono::steady_clock;

  void follow(int target);

  Camera& camera_;
  Report report_;
  Clock::time_point begun_;
  double startedAt_;
  std::optional<int> target_;
  CoolingSample last_;
};

}  // namespace orvik::imaging
