// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "seam/change_count.h"

struct libusb_context;
struct libusb_device_handle;

namespace orvik {

/// A libusb context, and the thread that handles its events. The thread runs while a device is
/// open: the first handle starts it, the last one ends it.
///
/// libusb still uses the device handle of a transfer while it calls the completion. So a handle
/// whose last owner disappears inside a completion is closed only after libusb has returned.
class LibusbContext : public std::enable_shared_from_this<LibusbContext> {
 public:
  /// @return null when libusb cannot be initialised.
  static std::shared_ptr<LibusbContext> create();

  explicit LibusbContext(libusb_context* raw);
  LibusbContext(const LibusbContext&) = delete;
  LibusbContext& operator=(const LibusbContext&) = delete;
  ~LibusbContext();

  [[nodiscard]] libusb_context* raw() const { return raw_; }

  /// Counts hot plug events while events are handled; null without hot plug support.
  [[nodiscard]] const std::shared_ptr<seam::ChangeCount>& changes() const { return changes_; }

  /// Handles events from now on, for an open handle or for a thread that waits for a change. Each
  /// success requires a leave() or close().
  /// @return false when the system cannot start a thread.
  bool enter();
  void leave();

  /// Closes a handle for which enter() succeeded. Any thread, even inside a completion.
  void close(libusb_device_handle* handle);

  /// Discards pending hot plug events of the time when no events were handled.
  void dropStaleEvents();

  /// Waits until the last handle is closed and the thread has ended, at most `timeout`.
  void drain(std::chrono::milliseconds timeout);

 private:
  bool startThread();
  void run();
  void closeWaitingHandles();
  void join();

  libusb_context* const raw_;
  const std::shared_ptr<seam::ChangeCount> changes_;  ///< libusb uses it until the context ends
  std::atomic<bool> stop_{false};
  std::vector<libusb_device_handle*> closing_;  ///< used by the event thread only
  /// Held while the thread is started and joined. The thread locks it only to close a handle, and
  /// it is not joined while a handle is open, so there is no deadlock.
  std::mutex mutex_;
  std::condition_variable idle_;
  int openHandles_ = 0;
  std::thread thread_;
};

}  // namespace orvik
