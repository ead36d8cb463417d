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
/// Two frames are in hand at a time: the one that is being filled and the one that follows. Each
/// read that completes makes room for the same read of the following frame, so the device never
/// waits for the host between frames. When the system refuses a further read (its memory for USB is
/// limited), as many stay in flight as it takes, and the rest follow as others complete.
///
/// For one thread at a time. The endpoint's abort() from any thread ends its waits.
class BulkStream {
 public:
  enum class Result : std::uint8_t {
    kComplete,    ///< exactly a frame's bytes have arrived: advance()
    kEmpty,       ///< nothing arrived in time; the reads stay in flight
    kFailed,      ///< nothing arrived, and the pipe gave up: restart()
    kIncomplete,  ///< less than a frame arrived, or a read failed: restart()
    kGone,        ///< the device is gone
  };

  /// When the frame was found complete, on the clock of the stream.
  struct Arrival {
    std::chrono::nanoseconds time{};
    /// It may have been complete so much earlier: the thread was busy elsewhere.
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

  /// Gives up what is in flight, clears the pipe and starts anew at a frame's first byte.
  void restart();

  /// Waits for the rest of the frame that is being filled.
  /// @param timeout longest time for one read
  Result readFrame(std::chrono::milliseconds timeout);

  /// Of the frame that readFrame() completed.
  [[nodiscard]] Arrival arrival() const { return arrival_; }

  /// Whether a read has ended that readFrame() has not seen yet.
  [[nodiscard]] bool hasArrived() const;

  /// Reads and discards what a camera that has been halted still sends, until nothing comes any
  /// more; at most a frame.
  void drain();

  /// Whether the device has gone, without waiting for anything.
  [[nodiscard]] bool isGone() const;

  /// The memory of the frame that readFrame() completed. May be exchanged for other memory of the
  /// same size before advance().
  [[nodiscard]] FrameBuffer& frame() { return bufferOf(frameNumber_); }
  [[nodiscard]] const FrameBuffer& frame() const { return bufferOf(frameNumber_); }

  /// Turns to the following frame; the completed one's memory receives the one after it.
  void advance();

  /// Gives up what is in flight; ends within a second.
  void stop();

 private:
  struct Read {
    std::unique_ptr<TransferContext> context;
    std::shared_ptr<std::uint8_t[]> slot;  ///< to copy from; null: the frame is filled in place
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

  // Frames and reads are numbered through; frame f consists of the reads from f * readsPerFrame_.
  std::uint64_t frameNumber_ = 0;
  std::uint64_t nextToRead_ = 0;
  std::uint64_t nextToSubmit_ = 0;
  bool gone_ = false;
  Arrival arrival_;
};

}  // namespace orvik
