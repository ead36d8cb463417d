// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/pause.h"

#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>

#include "tools/orvikctl/failure.h"

namespace orvik::ctl {

bool waitForEnter(const std::string& what, const std::stop_token& stop) {
  constexpr int kSliceMs = 100;
  std::cerr << what << "\nEnter goes on, Ctrl-C ends: " << std::flush;
  while (!stop.stop_requested()) {
    pollfd input{STDIN_FILENO, POLLIN, 0};
    if (poll(&input, 1, kSliceMs) <= 0) continue;
    char letter = 0;
    const ssize_t count = read(STDIN_FILENO, &letter, 1);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) {
      throw Failure(ExitCode::kUsage,
                    "nobody can answer at standard input; --yes goes on without asking.");
    }
    if (letter == '\n') return true;
  }
  std::cerr << '\n';
  return false;
}

}  // namespace orvik::ctl
