// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace orvik {

/// A thread that can be joined with a timeout. For one owner thread at a time.
class WorkerThread {
 public:
  WorkerThread() = default;
  /// Detaches a thread that still runs; call join() first.
  ~WorkerThread();
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;

  /// Starts `work` on a new thread. A previous thread that has not ended yet is detached.
  /// `work` shares the ownership of everything that it uses.
  /// @return false when the system cannot start another thread.
  bool start(std::function<void()> work);

  /// Waits until the thread has ended, at most `timeout`.
  /// @return true when it has ended or never started; false when it still runs and can be joined
  /// later.
  bool join(std::chrono::milliseconds timeout);

 private:
  struct Completion {
    std::mutex mutex;
    std::condition_variable changed;
    bool ended = false;
  };

  std::shared_ptr<Completion> completion_;
  std::thread thread_;
};

}  // namespace orvik
