// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <span>

#include "base/page_buffer.h"
#include "capture/device_slots.h"
#include "seam/clock.h"
#include "usb/usb_device.h"

namespace orvik {

/// Reads frames from the bulk endpoint with the reads of a whole frame always in flight.
///
/// It works on two frames at a time: the one that is being filled and the one that follows. When a
/// read completes, the same read of the following frame is submitted, so the device never waits for
/// the host between frames. If the system refuses a further read (its memory for USB is limited),
/// as many stay in flight as it accepts, and the rest follow as others complete.
///
/// For one thread at a time. The endpoint's abort(), from any thread, ends its waits.
class BulkStream {
 public:
  enum class Result : std::uint8_t {
    kComplete,    ///< exactly a frame's bytes have arrived: advance()
    kEmpty,       ///< nothing arrived before the timeout; the reads stay in flight
    kFailed,      ///< nothing arrived and a read failed: restart()
    kIncomplete,  ///< less than a frame arrived, or a read failed: restart()
    kGone,        ///< the device is gone
  };

  /// When the frame was found to be complete, on the clock of the stream.
  struct Arrival {
    std::chrono::nanoseconds time{};
    /// It may have been complete earlier by up to this time, because the thread was busy elsewhere.
    std::chrono::nanoseconds uncertainty{};
  };

  /// @param device open, its interface claimed; must outlive the stream, as must `clock`
  /// @param frames memory for the frame that is being filled and for the one that follows
  /// @param frameBytes bytes of one frame, above 0
  /// @param transferBytes bytes of one read, above 0
  BulkStream(CUsbDevice& device, const seam::Clock& clock, std::shared_ptr<FramePair> frames,
             std::size_t frameBytes, std::size_t transferBytes);
  ~BulkStream();
  BulkStream(const BulkStream&) = delete;
  BulkStream& operator=(const BulkStream&) = delete;

  /// Cancels the reads in flight, clears the pipe and starts again at the first byte of a frame.
  void restart();

  /// Waits for the rest of the frame that is being filled.
  /// @param timeout longest time to wait for each read
  Result readFrame(std::chrono::milliseconds timeout);

  /// When the frame of readFrame() arrived.
  [[nodiscard]] Arrival arrival() const { return arrival_; }

  /// Whether a read has completed that readFrame() has not processed yet.
  [[nodiscard]] bool hasArrived() const;

  /// Reads and discards the data that a halted camera still sends, until no more arrives; at most
  /// one frame.
  void drain();

  /// Whether the device is gone. Does not wait.
  [[nodiscard]] bool isGone() const;

  /// The memory of the frame that readFrame() completed. May be exchanged for other memory of the
  /// same size before advance().
  [[nodiscard]] FrameBuffer& frame() { return bufferOf(frameNumber_); }
  [[nodiscard]] const FrameBuffer& frame() const { return bufferOf(frameNumber_); }

  /// Goes on to the following frame. The memory of the completed one receives the frame after it.
  void advance();

  /// Cancels the reads in flight; takes at most a second.
  void stop();

 private:
  struct Read {
    std::unique_ptr<TransferContext> context;
    std::shared_ptr<std::uint8_t[]> slot;  ///< to copy from; null if the frame is filled in place
  };

  void submitAhead();
  bool waitForOldest(std::chrono::milliseconds timeout);
  bool submit(std::uint64_t number);
  bool collect(std::size_t& received);
  [[nodiscard]] FrameBuffer& bufferOf(std::uint64_t frame) const { return (*frames_)[frame % 2]; }
  [[nodiscard]] std::size_t offsetOf(std::uint64_t number) const;
  [[nodiscard]] std::span<std::uint8_t> placeOf(std::uint64_t number) const;

  CCyBulkEndPoint* const endpoint_;
  const seam::Clock& clock_;
  const std::shared_ptr<FramePair> frames_;  ///< by frame number modulo 2
  const std::size_t frameBytes_;
  const std::size_t transferBytes_;
  const std::uint64_t readsPerFrame_;
  DeviceSlots slots_;
  std::deque<Read> inFlight_;  ///< oldest first

  // Frames and reads are numbered consecutively; frame f begins with read f * readsPerFrame_.
  std::uint64_t frameNumber_ = 0;
  std::uint64_t nextToRead_ = 0;
  std::uint64_t nextToSubmit_ = 0;
  bool gone_ = false;
  Arrival arrival_;
};

}  // namespace orvik
