// SPDX-License-Identifier: MIT
#pragma once

#include <stop_token>

namespace orvik::ctl {

/// Turns SIGINT, SIGTERM and SIGHUP into a stop request for long work, so that capture is stopped
/// and files are closed. A second signal ends the process at once. Called again, it forgets the
/// first, for work that has two ends. Writes beyond a file-size limit, or to a pipe whose reader
/// has ended, then fail like a full disk instead of killing the process.
void catchInterrupts();

/// The stop that the user requests, since the last catchInterrupts(). Any thread.
std::stop_token interruption();

/// Whether the user has requested it. Any thread.
bool interrupted();

}  // namespace orvik::ctl
