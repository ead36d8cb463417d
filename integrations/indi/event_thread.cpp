// SPDX-License-Identifier: MIT
#include "event_thread.h"

#include <indidevapi.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <cstdint>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace orvik::indi {
namespace {

struct Queue {
  std::mutex mutex;
  std::vector<std::function<void()>> functions;
  int wake = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  std::thread::id eventThread;
};

/// Never destroyed: threads may pass work while the program exits.
Queue& queue() {
  static auto* const only = new Queue;
  return *only;
}

void runAll(int descriptor, void*) {
  std::uint64_t count = 0;
  if (read(descriptor, &count, sizeof(count)) < 0) return;  // nothing was passed
  std::vector<std::function<void()>> functions;
  {
    const std::scoped_lock lock(queue().mutex);
    functions.swap(queue().functions);
  }
  for (const auto& function : functions) function();
}

}  // namespace

void startEventQueue() {
  queue().eventThread = std::this_thread::get_id();
  IEAddCallback(queue().wake, runAll, nullptr);
}

void onEventThread(std::function<void()> function) {
  {
    const std::scoped_lock lock(queue().mutex);
    queue().functions.push_back(std::move(function));
  }
  const std::uint64_t one = 1;
  // It can fail only when the counter is full, and then the thread is awake already.
  [[maybe_unused]] const auto written = write(queue().wake, &one, sizeof(one));
}

bool isEventThread() { return std::this_thread::get_id() == queue().eventThread; }

}  // namespace orvik::indi
