// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace orvik {

/// A value that one thread replaces while others use it. A reader keeps the value that it got,
/// unchanged, for as long as it holds the pointer. The lock is held only to exchange a pointer.
template <class Value>
class Published {
 public:
  using Pointer = std::shared_ptr<const Value>;

  [[nodiscard]] Pointer get() const {
    const std::lock_guard lock(mutex_);
    return value_;
  }
  /// @param value null for none
  void set(Pointer value) {
    const std::lock_guard lock(mutex_);
    value_.swap(value);
  }  // the old value is destroyed after the lock has been released

 private:
  mutable std::mutex mutex_;
  Pointer value_;
};

}  // namespace orvik
