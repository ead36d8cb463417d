// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace orvik::server {

/// Tells all who asked that something has changed. Any thread.
class ChangeSignal {
 public:
  /// Calls a function with each tell() until the returned object is destroyed, which waits for a
  /// call that is going on; so not from the function itself.
  [[nodiscard]] std::shared_ptr<void> connect(std::function<void()> function) {
    const auto line = std::make_shared<Line>();
    line->function = std::move(function);
    const std::scoped_lock lock(mutex_);
    std::erase_if(lines_, [](const std::weak_ptr<Line>& one) { return one.expired(); });
    lines_.push_back(line);
    return {nullptr, [line](std::nullptr_t) {
              const std::scoped_lock ending(line->mutex);
              line->function = nullptr;
            }};
  }

  /// Calls all functions, on this thread.
  void tell() {
    std::vector<std::shared_ptr<Line>> lines;
    {
      const std::scoped_lock lock(mutex_);
      for (const auto& one : lines_) lines.push_back(one.lock());
    }
    for (const auto& line : lines) {
      if (!line) continue;
      const std::scoped_lock lock(line->mutex);
      if (line->function) line->function();
    }
  }

 private:
  struct Line {
    std::mutex mutex;
    std::function<void()> function;
  };

  std::mutex mutex_;
  std::vector<std::weak_ptr<Line>> lines_;
};

}  // namespace orvik::server
