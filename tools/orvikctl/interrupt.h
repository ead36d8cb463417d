// SPDX-License-Identifier: MIT
#pragma once

namespace orvik::ctl {

/// Turns SIGINT and SIGTERM into a flag that long work asks for, so that capture is stopped and
/// files are closed. A second signal ends the process at once. Called again, it forgets the first,
/// for work that has two ends. Writes beyond a file-size limit then
/// fail like a full disk instead of killing the process.
void catchInterrupts();

/// Whether the user asked for the end. Any thread.
bool interrupted();

}  // namespace orvik::ctl
