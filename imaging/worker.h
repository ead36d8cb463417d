// SPDX-License-Identifier: MIT
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <stop_token>
#include <thread>
#include <utility>

namespace orvik::imaging {

/// A thread that does jobs one after the other, so that calls which wait for a camera do not block
/// the thread that serves the program's clients.
class Worker {
 public:
  /// A job should return soon after a stop has been requested.
  using Job = std::function<void(const std::stop_token&)>;

  Worker() : thread_([this](const std::stop_token& end) { run(end); }) {}
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Adds a job.
  /// @return the source with which it can be stopped, also before it has begun
  std::stop_source post(Job job) {
    const std::scoped_lock lock(mutex_);
    jobs_.emplace_back(std::move(job), std::stop_source{});
    changed_.notify_all();
    return jobs_.back().second;
  }

  /// Waits until all jobs are done. Not from a job of this worker.
  void drain() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return jobs_.empty(); });
  }

 private:
  void run(const std::stop_token& end) {
    std::unique_lock lock(mutex_);
    while (changed_.wait(lock, end, [this] { return !jobs_.empty(); })) {
      // References to the elements of a deque stay valid when others are added at its end.
      auto& [job, stop] = jobs_.front();
      lock.unlock();
      job(stop.get_token());
      job = nullptr;  // what it holds may be destroyed here, without the lock
      lock.lock();
      jobs_.pop_front();
      changed_.notify_all();
    }
  }

  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::deque<std::pair<Job, std::stop_source>> jobs_;  // the first one is running
  std::jthread thread_;
};

}  // namespace orvik::imaging
