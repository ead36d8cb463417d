// SPDX-License-Identifier: MIT
#pragma once

#include <functional>

namespace orvik::indi {

/// Prepares the passing of work to INDI's event thread. Call once, on that thread.
void startEventQueue();

/// Runs a function on INDI's event thread, after those that were passed before. Any thread.
///
/// Properties belong to the event thread: other threads report their results through here.
void onEventThread(std::function<void()> function);

/// Whether the caller is INDI's event thread.
bool isEventThread();

}  // namespace orvik::indi
