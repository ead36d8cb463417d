// SPDX-License-Identifier: MIT
#include "usb/libusb_context.h"

#include <libusb-1.0/libusb.h>
#include <pthread.h>

#include <csignal>
#include <system_error>

#include "usb/libusb_changes.h"

namespace orvik {
namespace {

/// How long the event thread sleeps if nothing wakes it; all events wake it.
constexpr timeval kIdle{60, 0};

/// The pause between attempts when libusb cannot wait for events.
constexpr std::chrono::milliseconds kAfterError{10};

/// The context whose events this thread handles.
thread_local const LibusbContext* handledHere = nullptr;

/// Blocks all signals for threads that are started while it exists, so that signal handlers of the
/// application do not run on them.
class SignalsBlocked {
 public:
  SignalsBlocked() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  SignalsBlocked(const SignalsBlocked&) = delete;
  SignalsBlocked& operator=(const SignalsBlocked&) = delete;
  ~SignalsBlocked() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

 private:
  sigset_t before_;
};

}  // namespace

std::shared_ptr<LibusbContext> LibusbContext::create() {
  libusb_context* raw = nullptr;
  if (libusb_init(&raw) != LIBUSB_SUCCESS) return nullptr;
  return std::make_shared<LibusbContext>(raw);
}

LibusbContext::LibusbContext(libusb_context* raw) : raw_(raw), changes_(countChanges(raw)) {}

LibusbContext::~LibusbContext() {
  // The thread shares the ownership, so it may be the last owner, and it cannot join itself.
  if (handledHere == this) {
    thread_.detach();
  } else {
    join();
  }
  libusb_exit(raw_);
}

bool LibusbContext::enter() {
  const std::lock_guard lock(mutex_);
  if (openHandles_ == 0 && !startThread()) return false;
  ++openHandles_;
  return true;
}

bool LibusbContext::startThread() {
  join();
  stop_ = false;
  const SignalsBlocked guard;
  try {
    thread_ = std::thread([self = shared_from_this()] { self->run(); });
  } catch (const std::system_error&) {
    return false;
  }
  pthread_setname_np(thread_.native_handle(), "orvik-usb");
  return true;
}

void LibusbContext::run() {
  handledHere = this;
  while (!stop_) {
    timeval timeout = kIdle;
    const int result = libusb_handle_events_timeout_completed(raw_, &timeout, nullptr);
    closeWaitingHandles();
    if (result != LIBUSB_SUCCESS && result != LIBUSB_ERROR_INTERRUPTED) {
      std::this_thread::sleep_for(kAfterError);
    }
  }
}

void LibusbContext::closeWaitingHandles() {
  for (libusb_device_handle* handle : closing_) {
    libusb_close(handle);
    leave();
  }
  closing_.clear();
}

void LibusbContext::close(libusb_device_handle* handle) {
  if (handledHere == this) {
    closing_.push_back(handle);
  } else {
    libusb_close(handle);
    leave();
  }
}

void LibusbContext::leave() {
  const std::lock_guard lock(mutex_);
  if (--openHandles_ > 0) return;
  stop_ = true;
  idle_.notify_all();
  if (handledHere == this) return;  // run() ends by itself and is joined later
  libusb_interrupt_event_handler(raw_);
  join();
}

void LibusbContext::join() {
  if (thread_.joinable()) thread_.join();
}

void LibusbContext::dropStaleEvents() {
  const std::lock_guard lock(mutex_);
  if (openHandles_ > 0) return;
  timeval none{0, 0};
  libusb_handle_events_timeout_completed(raw_, &none, nullptr);
}

void LibusbContext::drain(std::chrono::milliseconds timeout) {
  std::unique_lock lock(mutex_);
  if (idle_.wait_for(lock, timeout, [this] { return openHandles_ == 0; })) join();
}

}  // namespace orvik
