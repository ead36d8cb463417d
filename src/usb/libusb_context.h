// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

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

  explicit LibusbContext(libusb_context* raw) : raw_(raw) {}
  LibusbContext(const LibusbContext&) = delete;
  LibusbContext& operator=(const LibusbContext&) = delete;
  ~LibusbContext();

  [[nodiscard]] libusb_context* raw() const { return raw_; }

  /// Has events handled from now on, on behalf of a handle that is open.
  /// @return false when the system gives no thread; the handle is then not counted.
  bool enter();

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
  void leave();
  void join();

  libusb_context* const raw_;
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
