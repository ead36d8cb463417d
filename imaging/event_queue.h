// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <mutex>
#include <vector>

namespace orvik::imaging {

/// Functions that other threads pass to the thread of an event loop.
class EventQueue {
 public:
  EventQueue();
  ~EventQueue();
  EventQueue(const EventQueue&) = delete;
  EventQueue& operator=(const EventQueue&) = delete;

  /// Can be read from while functions are waiting.
  [[nodiscard]] int descriptor() const { return descriptor_; }
  /// Adds a function. Any thread.
  void post(std::function<void()> function);
  /// Runs the functions that are waiting, in their order.
  void run();

 private:
  std::mutex mutex_;
  std::vector<std::function<void()>> functions_;
  int descriptor_;
};

}  // namespace orvik::imaging
