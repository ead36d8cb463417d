// SPDX-License-Identifier: MIT
#include "session.h"

#include <algorithm>

namespace orvik::python {
namespace {

/// Opening and closing is for one thread at a time in a process.
std::mutex& controlling() {
  static std::mutex mutex;
  return mutex;
}

}  // namespace

Session::Session(const std::string& identity) {
  const std::lock_guard lock(controlling());
  camera_ = Camera::open(identity);
  label_ = camera_.label();
  info_ = camera_.info();
}

void Session::close() noexcept {
  isClosing_ = true;
  const std::unique_lock unused(closing_);
  cooling_.reset();
  const std::lock_guard lock(controlling());
  camera_.close();
}

void Session::requireOpen() const {
  if (isClosing_) throw Closed(Orvik_ERROR_NO_CAMERA_OBJECT, label_ + ": it has been closed");
}

void Session::throwIfUnplugged(const Error& error) const {
  std::error_code ignored;
  const auto now = devices(ignored);
  const auto isThis = [this](const Device& device) { return device.handle == camera_.handle(); };
  if (ignored || std::any_of(now.begin(), now.end(), isThis)) return;
  throw Unplugged(error.orvikCode(), label_ + ": it was unplugged");
}

}  // namespace orvik::python
