// SPDX-License-Identifier: MIT
#include "session.h"

#include <algorithm>
#include <future>

namespace orvik::python {
namespace {

/// Opening and closing is for one thread at a time in a process.
std::mutex& controlling() {
  static std::mutex mutex;
  return mutex;
}

}  // namespace

Session::Session(const std::string& identity) {
  const Unlocked unlocked;
  const std::lock_guard lock(controlling());
  camera_ = Camera::open(identity);
  label_ = camera_.label();
  info_ = camera_.info();
}

void Session::close() noexcept {
  const Unlocked unlocked;
  isClosing_ = true;
  const std::unique_lock unused(closing_);
  cooling_.end();
  const std::lock_guard lock(controlling());
  camera_.close();
}

void Session::wait(const std::function<void(Camera&, const std::stop_token&)>& call) {
  use([&](Camera& camera) {
    std::stop_source stop;
    auto done = std::async(std::launch::async, [&] { call(camera, stop.get_token()); });
    try {
      while (done.wait_for(kSlice) != std::future_status::ready) goOn();
    } catch (...) {
      stop.request_stop();
      done.wait();
      throw;
    }
    done.get();
  });
}

void Session::goOn() const {
  requireOpen();
  checkSignals();
}

std::shared_ptr<Frame> Session::snap() {
  const auto alone = claimImages();
  auto frame = std::make_shared<Frame>();
  wait([&](Camera& camera, const std::stop_token& stop) { *frame = orvik::snap(camera, stop); });
  return frame;
}

std::unique_lock<std::mutex> Session::claimImages() {
  std::unique_lock alone(images_, std::try_to_lock);
  if (!alone) throw Error(Orvik_ERROR_EXPOSING, label_ + ": another thread waits for an image");
  return alone;
}

void Session::requireOpen() const {
  if (!isClosing_) return;
  throw NamedError("Closed", Orvik_ERROR_NO_CAMERA_OBJECT, label_ + ": it has been closed");
}

void Session::throwIfUnplugged(const Error& error) const {
  std::error_code ignored;
  const auto now = devices(ignored);
  const auto isThis = [this](const Device& device) { return device.handle == camera_.handle(); };
  if (ignored || std::any_of(now.begin(), now.end(), isThis)) return;
  throw NamedError("Unplugged", error.orvikCode(), label_ + ": it was unplugged");
}

}  // namespace orvik::python
