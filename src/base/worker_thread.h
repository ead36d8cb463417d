// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace orvik {

/// A thread that can be waited for with a limit. For one owner thread at a time.
class WorkerThread {
 public:
  WorkerThread() = default;
  /// Leaves a thread that still runs to itself; join() first.
  ~WorkerThread();
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;

  /// Starts `work` on a new thread. One that has not ended yet is left to itself.
  /// `work` owns, by shared ownership, all that it touches.
  /// @return false when the system has no thread to give.
  bool start(std::function<void()> work);

  /// Waits until the thread has ended, at most `limit`.
  /// @return true when it has, or never started; false when it goes on, and can be waited for
  /// again.
  bool join(std::chrono::milliseconds limit);

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
