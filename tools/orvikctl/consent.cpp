// SPDX-License-Identifier: MIT
#include "tools/orvikctl/consent.h"

#include <unistd.h>

#include <iostream>

#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/units.h"

namespace orvik::ctl {

void addConsentOption(CLI::App& app, bool& yes) {
  app.add_flag("--yes", yes, "Do not ask; needed where there is no terminal to ask at");
}

void requireConsent(bool yes, const std::string& what) {
  if (yes) return;
  if (isatty(STDIN_FILENO) != 1) {
    throw Failure(ExitCode::kUsage,
                  what + " There is no terminal to ask at: add --yes if that is what you want.");
  }
  std::cerr << what << " Go on? [y/N] " << std::flush;
  std::string answer;
  std::getline(std::cin, answer);
  const std::string folded = foldName(answer);
  if (folded != "y" && folded != "yes") throw Failure(ExitCode::kUsage, "nothing was done.");
}

}  // namespace orvik::ctl
