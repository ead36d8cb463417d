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

/// A libusb session, and the one thread that handles its events. The thread runs while a device is
/// open: the first handle starts it, the last one ends it.
///
/// libusb calls a transfer's completion while it still works with the transfer's device handle. So
/// a handle whose last owner lets go inside a completion is closed only when libusb has returned.
class LibusbContext : public std::enable_shared_from_this<LibusbContext> {
 public:
  /// @return null where libusb cannot initialise.
  static std::shared_ptr<LibusbContext> create();

  explicit LibusbContext(libusb_context* raw);
  LibusbContext(const LibusbContext&) = delete;
  LibusbContext& operator=(const LibusbContext&) = delete;
  ~LibusbContext();

  [[nodiscard]] libusb_context* raw() const { return raw_; }

  /// Counts what comes and goes while events are handled; null where libusb is not told.
  [[nodiscard]] const std::shared_ptr<seam::ChangeCount>& changes() const { return changes_; }

  /// Has events handled from now on, on behalf of a handle that is open or of somebody who waits
  /// for a change. Each success wants its leave() or close().
  /// @return false when the system gives no thread.
  bool enter();
  void leave();

  /// Closes a handle for which enter() succeeded. Any thread, also inside a completion.
  void close(libusb_device_handle* handle);

  /// Drops what libusb keeps of devices that came and went while nobody handled events.
  void dropStaleEvents();

  /// Waits, at most `limit`, for the last handle to be closed and the thread to end.
  void drain(std::chrono::milliseconds limit);

 private:
  bool startThread();
  void run();
  void closeWaitingHandles();
  void join();

  libusb_context* const raw_;
  const std::shared_ptr<seam::ChangeCount> changes_;  // used by libusb until the context ends
  std::atomic<bool> stop_{false};
  std::vector<libusb_device_handle*> closing_;  // the event thread's own

  // Held while the thread is started and joined. The thread takes it only to close a handle, and
  // while a handle is open nobody joins: so neither waits for the other.
  std::mutex mutex_;
  std::condition_variable idle_;
  int openHandles_ = 0;
  std::thread thread_;
};

}  // namespace orvik
