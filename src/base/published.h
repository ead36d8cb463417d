// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <mutex>
#include <utility>

namespace orvik {

/// A value that one thread replaces while others use it: a user keeps what it took, unchanged, for
/// as long as it holds it. The lock lasts for the exchange of a pointer only.
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
  }  // the old value goes when the lock has been left

 private:
  mutable std::mutex mutex_;
  Pointer value_;
};

}  // namespace orvik
