// SPDX-License-Identifier: MIT
#include "base/worker_thread.h"

#include <system_error>
#include <utility>

namespace orvik {

WorkerThread::~WorkerThread() {
  if (thread_.joinable()) thread_.detach();
}

bool WorkerThread::start(std::function<void()> work) {
  auto completion = std::make_shared<Completion>();
  if (thread_.joinable()) thread_.detach();
  try {
    thread_ = std::thread([work = std::move(work), completion]() mutable {
      work();
      work = nullptr;  // releases what the work owns before join() can return
      const std::lock_guard lock(completion->mutex);
      completion->ended = true;
      completion->changed.notify_all();
    });
  } catch (const std::system_error&) {
    return false;
  }
  completion_ = std::move(completion);
  return true;
}

bool WorkerThread::join(std::chrono::milliseconds timeout) {
  if (!thread_.joinable()) return true;
  std::unique_lock lock(completion_->mutex);
  const bool ended =
      completion_->changed.wait_for(lock, timeout, [this] { return completion_->ended; });
  lock.unlock();
  if (ended) thread_.join();
  return ended;
}

}  // namespace orvik
