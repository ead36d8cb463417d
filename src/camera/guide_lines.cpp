// SPDX-License-Identifier: MIT
#include "camera/guide_lines.h"

#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace orvik {
namespace {

/// The guide ports of all camera objects of this process.
struct AllPorts {
  std::mutex mutex;  ///< taken before that of a port
  std::vector<GuideLines*> ports;
};

AllPorts& allPorts() {
  // Never destroyed: the last camera may end after every static object.
  static auto* const all = new AllPorts;
  return *all;
}

/// Lets go of every line when the program ends, while threads, cameras and the USB host still live.
/// A process that was forked off does not own the cameras and leaves them alone.
void letGoAtExit() {
  static const pid_t owner = getpid();
  [[maybe_unused]] static const int registered = std::atexit([] {
    if (getpid() != owner) return;
    AllPorts& all = allPorts();
    const std::lock_guard lock(all.mutex);
    for (GuideLines* port : all.ports) port->letGo();
  });
}

}  // namespace

GuideLines::GuideLines(VendorLink& link) : link_(link) {
  AllPorts& all = allPorts();
  const std::lock_guard lock(all.mutex);
  all.ports.push_back(this);
}

GuideLines::~GuideLines() {
  AllPorts& all = allPorts();
  const std::lock_guard lock(all.mutex);
  std::erase(all.ports, this);
}

bool GuideLines::send(VendorRequest request, std::size_t line) {
  return link_.send(static_cast<std::uint8_t>(request), static_cast<std::uint16_t>(line));
}

bool GuideLines::switchOn(std::size_t line) {
  if (line >= kCount) return false;
  letGoAtExit();
  const std::lock_guard lock(mutex_);
  if (!allowed_) return false;
  mayBeOn_.at(line) = true;
  return send(VendorRequest::kGuideOn, line);
}

bool GuideLines::switchOff(std::size_t line) {
  if (line >= kCount) return false;
  {
    const std::lock_guard lock(mutex_);
    if (!send(VendorRequest::kGuideOff, line)) return false;
    mayBeOn_.at(line) = false;
  }
  switchedOff_.notify_all();
  return true;
}

bool GuideLines::pulse(std::size_t line, seam::Clock& clock, seam::Clock::Duration length) {
  if (line >= kCount) return false;
  const bool on = switchOn(line);
  if (on && length > seam::Clock::Duration::zero()) {
    std::unique_lock lock(mutex_);
    clock.waitUntil(lock, switchedOff_, clock.now() + length, [&] { return !mayBeOn_.at(line); });
  }
  const bool off = switchOff(line);  // also where the answer to the first request was lost
  return on && off;
}

void GuideLines::letGo() {
  {
    const std::lock_guard lock(mutex_);
    allowed_ = false;
    for (std::size_t line = 0; line < kCount; ++line) {
      if (!mayBeOn_.at(line)) continue;
      send(VendorRequest::kGuideOff, line);
      mayBeOn_.at(line) = false;
    }
  }
  switchedOff_.notify_all();
}

void GuideLines::allow() {
  const std::lock_guard lock(mutex_);
  allowed_ = true;
}

}  // namespace orvik
