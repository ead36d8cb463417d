// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "seam/clock.h"
#include "sim/camera_options.h"
#include "sim/frame_settings.h"
#include "sim/hardware/camera.h"
#include "sim/random.h"
#include "sim/stream/camera_link.h"
#include "sim/stream/outbox.h"
#include "sim/stream/picture_source.h"
#include "sim/stream/row_clock.h"
#include "sim/wire/bulk_pipe.h"

namespace orvik::sim {

/// Exposes frames as the camera's registers ask for, reads them out row by row, and sends what the
/// link carries of them. It has a thread while the camera runs and a host has it open, and for a
/// moment when a host sets it up; none otherwise.
///
/// At real pace a frame's rows come off the board in the last lines of the frame, one a line; in a
/// long exposure, from the shutter's closing on. They go through the FIFO of the link (LinkFifo),
/// which loses what it has no room for. A host that is late costs nothing of a frame: the camera
/// keeps what the link has carried. But a frame whose read-out begins while an earlier one still
/// waits for the host is lost, and its sequence number with it.
///
/// A frame shows the sky as the telescope showed it while the frame's first row was exposed.
///
/// The settings of a frame are those at the beginning of its exposure, or, as the camera's
/// temperament has it, those of the moment at each row.
///
/// The caller of every function except join() holds the device's lock.
class Streamer {
 public:
  Streamer(std::mutex& mutex, const Camera& camera, BulkPipe& pipe,
           std::shared_ptr<seam::Clock> clock, const CameraOptions& options, CameraLink link,
           PictureMaker maker);
  Streamer(const Streamer&) = delete;
  Streamer& operator=(const Streamer&) = delete;
  ~Streamer() { join(); }

  /// A host is setting the camera up: what its first frame will need is worked out ahead, once.
  void prepare();
  /// Brings the board up to the present time, before a request may change it.
  void advance();
  /// Reads the camera's state again, after a request that may have changed it.
  void update();
  /// Looks for work again, after a transfer has been submitted. Releases the lock.
  void wake(BulkPipe::Lock& lock);
  /// The halt of the pipe has been cleared.
  void pipeCleared();
  /// While no host has the camera open, nothing is exposed.
  void setHostPresent(bool present);

  /// Bytes that the link has not carried.
  [[nodiscard]] std::uint64_t bytesLost() const { return link_.lost(); }

  /// Ends streaming for good; the thread ends soon after.
  void stop();
  /// Waits for the thread's end, after stop(). If two callers do, one of them waits.
  void join();

 private:
  using Lock = BulkPipe::Lock;
  using Duration = seam::Clock::Duration;

  /// A frame that collects light.
  struct Exposure {
    FrameSettings settings;
    Duration begins{};
    Duration ends{};  ///< free running: when its last row has come off
  };
  /// When the first row of a frame collected light.
  struct Window {
    Duration begins{};
    Duration ends{};
  };
  /// A frame whose rows come off the board.
  struct Readout {
    FrameSettings settings;
    std::uint64_t number = 0;
    Window exposed;
    RowClock rows;
    Strip strip;        ///< of the rows that have been made, the last ones
    bool lost = false;  ///< its rows take their time, but are not sent

    /// Whether its next row can leave the board.
    [[nodiscard]] bool hasNext() const { return lost || strip.holds(rows.row()); }
  };

  void wake();
  void run();
  void waitForWork(Lock& lock);
  [[nodiscard]] std::optional<Duration> nextEvent() const;
  [[nodiscard]] bool wanted() const;
  [[nodiscard]] bool hasToPrepare() const;
  [[nodiscard]] bool timed() const { return pace_ == Pace::kReal; }
  void startThread();
  void beginExposure(Duration now);
  void followShutter();
  void followSettings(Duration now);
  void dropFrames();
  void dropExposures();
  void discard();

  bool step(Lock& lock);
  bool send(Lock& lock);
  bool developAtOnce(Lock& lock);
  bool beginReadout(Duration now);
  bool makeStrip(Lock& lock);
  bool readRows(Duration now);
  void endReadout();

  [[nodiscard]] Duration boardTime(Duration now) const;
  [[nodiscard]] bool hostIsLate() const;
  /// Bytes that have come through the link and wait for the host.
  [[nodiscard]] std::size_t arrived() const;

  std::mutex& mutex_;
  const Camera& camera_;
  BulkPipe& pipe_;
  const std::shared_ptr<seam::Clock> clock_;
  const Pace pace_;
  const Temperament temperament_;
  CameraLink link_;
  PictureSource pictures_;  ///< the thread's own, used outside the lock
  Random jitter_;

  CaptureState state_;
  bool hostPresent_ = false;
  bool stopped_ = false;
  bool threadRuns_ = false;
  enum class Prepared : std::uint8_t { kNo, kAsked, kYes } prepared_ = Prepared::kNo;
  bool poked_ = false;
  std::condition_variable work_;
  std::uint64_t changes_ = 0;    ///< counts the events that make an unfinished picture useless
  std::uint64_t discards_ = 0;   ///< counts the times that the outbox was emptied
  std::uint64_t nextFrame_ = 0;  ///< number of the next frame exposed; its low 16 bits are sent
  std::optional<Exposure> exposing_;
  std::optional<Duration> shutterOpened_;
  std::optional<Exposure> exposed_;  ///< triggered: a frame to be read out
  std::optional<Readout> reading_;
  Outbox outbox_;
  std::size_t portion_ = 0;  ///< bytes after which the thread checks again
  std::thread thread_;
};

}  // namespace orvik::sim
