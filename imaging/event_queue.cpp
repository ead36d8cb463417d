// SPDX-License-Identifier: MIT
#include "imaging/event_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <utility>

namespace orvik::imaging {

EventQueue::EventQueue() : descriptor_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}

EventQueue::~EventQueue() { close(descriptor_); }

void EventQueue::post(std::function<void()> function) {
  {
    const std::scoped_lock lock(mutex_);
    functions_.push_back(std::move(function));
  }
  const std::uint64_t one = 1;
  // It can fail only when the counter is full, and then the descriptor can be read from already.
  [[maybe_unused]] const auto written = write(descriptor_, &one, sizeof(one));
}

void EventQueue::run() {
  std::uint64_t count = 0;
  if (read(descriptor_, &count, sizeof(count)) < 0) return;  // nothing was passed
  std::vector<std::function<void()>> functions;
  {
    const std::scoped_lock lock(mutex_);
    functions.swap(functions_);
  }
  for (const auto& function : functions) function();
}

}  // namespace orvik::imaging
