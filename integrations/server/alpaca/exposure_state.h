// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <memory>
#include <optional>
#include <stop_token>

#include "integrations/server/alpaca/error.h"
#include "integrations/server/alpaca/image_room.h"

namespace orvik::server {

/// The standard's numbers of what a camera is doing.
enum class CameraState { kIdle = 0, kExposing = 2, kReading = 3, kDownload = 4, kError = 5 };

/// The image of an exposure, with what is known of it.
struct TakenImage {
  std::shared_ptr<const AlpacaImage> image;
  std::chrono::microseconds exposure{0};
  std::chrono::system_clock::time_point start;
};

/// Where the exposures of a camera are: everything that clients ask about them comes from one such
/// record, so that the answers agree. A record lasts from connecting to disconnecting. It has no
/// lock of its own.
class ExposureState {
 public:
  using Clock = std::chrono::steady_clock;

  /// Reserves the camera for an exposure. Clients see nothing of it before accept().
  /// @throws AlpacaError if one is under way
  void claim(std::stop_source stop);
  /// The camera has refused: everything is as before.
  void unclaim() { isClaimed_ = false; }
  /// The exposure is under way, and the former image is gone. Again: does nothing.
  void accept();

  /// The shutter has opened, so to speak.
  void begun(Clock::time_point now, std::chrono::microseconds length);
  /// The image has been read, and is being made ready for clients.
  void storing();

  /// The camera is free again. From now on the image is there, unless the exposure was aborted.
  void finish(TakenImage taken);
  /// The same after a failure, which ImageReady reports until the next exposure.
  void fail(const AlpacaError& error);

  /// Requests an exposure to end that is under way or claimed.
  void abort();

  [[nodiscard]] bool isUnderWay() const { return phase_ != Phase::kIdle || isClaimed_; }
  [[nodiscard]] CameraState state(Clock::time_point now) const;
  /// 0 to 100 in any state.
  [[nodiscard]] int percent(Clock::time_point now) const;
  [[nodiscard]] const std::optional<AlpacaError>& failure() const { return failure_; }
  /// Null while there is none.
  [[nodiscard]] const std::shared_ptr<const AlpacaImage>& image() const { return last_.image; }
  /// The facts about the last image that there was; its image may be gone.
  [[nodiscard]] const TakenImage* last() const { return hasLast_ ? &last_ : nullptr; }

 private:
  enum class Phase { kIdle, kExposing, kStoring };

  [[nodiscard]] bool isTimeOver(Clock::time_point now) const {
    return begun_ && now >= *begun_ + length_;
  }

  Phase phase_ = Phase::kIdle;
  bool isClaimed_ = false;
  std::optional<Clock::time_point> begun_;
  std::chrono::microseconds length_{0};
  std::stop_source stop_;
  std::optional<AlpacaError> failure_;
  TakenImage last_;
  bool hasLast_ = false;
};

}  // namespace orvik::server
