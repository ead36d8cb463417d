// SPDX-License-Identifier: MIT
#include "event_thread.h"

#include <indidevapi.h>

#include <thread>
#include <utility>

#include "imaging/event_queue.h"

namespace orvik::indi {
namespace {

std::thread::id eventThread;

/// Never destroyed: threads may pass work while the program exits.
imaging::EventQueue& queue() {
  static auto* const only = new imaging::EventQueue;
  return *only;
}

}  // namespace

void startEventQueue() {
  eventThread = std::this_thread::get_id();
  const auto run = [](int, void*) { queue().run(); };
  IEAddCallback(queue().descriptor(), run, nullptr);
}

void onEventThread(std::function<void()> function) { queue().post(std::move(function)); }

bool isEventThread() { return std::this_thread::get_id() == eventThread; }

}  // namespace orvik::indi
