// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "seam/clock.h"
#include "sim/camera_options.h"
#include "sim/frame_settings.h"
#include "sim/hardware/camera.h"
#include "sim/picture/picture_maker.h"
#include "sim/wire/bulk_pipe.h"

namespace orvik::sim {

/// Exposes frames as the camera's registers ask for, and sends them. It has a thread while the
/// camera runs and a host has it open, and none otherwise.
///
/// The camera has memory for one frame. It stays there until the host has fetched it; a frame that
/// becomes due meanwhile is lost, and its sequence number with it. The settings of a frame are
/// those at the beginning of its exposure.
///
/// All functions but join() want the device's lock held.
class Streamer {
 public:
  Streamer(std::mutex& mutex, const Camera& camera, BulkPipe& pipe,
           std::shared_ptr<seam::Clock> clock, const CameraOptions& options, PictureMaker maker);
  Streamer(const Streamer&) = delete;
  Streamer& operator=(const Streamer&) = delete;
  ~Streamer() { join(); }

  /// Looks at the camera again, after a request that may have changed it.
  void update();
  /// Looks for work again, after a transfer has been submitted.
  void wake();
  /// Throws away the frame that is waiting or on its way.
  void flush();
  /// While no host has the camera open, nothing is exposed.
  void setHostPresent(bool present);

  /// Ends streaming for good; the thread ends soon after.
  void stop();
  /// Waits for the thread's end, after stop().
  void join();

 private:
  using Lock = BulkPipe::Lock;
  using Duration = seam::Clock::Duration;

  struct Exposure {
    FrameSettings settings;
    Duration ends{};  ///< free running: when the frame is complete
  };
  struct Outgoing {
    std::span<const std::uint8_t> bytes;
    std::size_t sent = 0;
    bool onItsWay = false;  ///< the host has some of it, or is just getting it
  };
  /// Free pace: the pictures that are repeated.
  struct Ring {
    std::array<std::vector<std::uint8_t>, 4> pictures;
    std::size_t made = 0;
    std::size_t next = 0;
    std::optional<FrameSettings> settings;
  };

  void run();
  void waitForWork(Lock& lock);
  [[nodiscard]] bool wanted() const;
  void startThread();
  void beginExposure();
  void followShutter();

  /// Each does one thing that is due, if there is one, and answers whether there was.
  bool step(Lock& lock);
  bool exposeOnTime(Lock& lock);
  bool exposeOnDemand(Lock& lock);
  bool developTriggered(Lock& lock);

  void send(Lock& lock);
  void make(Lock& lock, FrameSettings settings, std::uint64_t number);
  std::span<std::uint8_t> pictureFromRing(const FrameSettings& settings, std::uint64_t number);
  std::span<std::uint8_t> freshPicture(const FrameSettings& settings, std::uint64_t number);

  std::mutex& mutex_;
  const Camera& camera_;
  BulkPipe& pipe_;
  const std::shared_ptr<seam::Clock> clock_;
  const Pace pace_;
  const FrameFilter filter_;

  // The thread's own, used outside the lock.
  PictureMaker maker_;
  std::vector<std::uint8_t> frameMemory_;
  Ring ring_;

  CaptureState state_;
  bool hostPresent_ = false;
  bool stopped_ = false;
  bool threadRuns_ = false;
  bool poked_ = false;
  std::condition_variable work_;
  std::uint64_t epoch_ = 0;      ///< counts the flushes
  std::uint64_t nextFrame_ = 0;  ///< number of the next frame exposed; its low 16 bits are sent
  std::optional<Outgoing> outgoing_;
  std::optional<Exposure> exposing_;
  std::optional<Duration> shutterOpened_;
  std::optional<FrameSettings> exposed_;  ///< triggered: a frame to be developed
  std::thread thread_;
};

}  // namespace orvik::sim
