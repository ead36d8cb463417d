// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "tools/orvikctl/common_options.h"

namespace orvik::ctl {

/// Adds a subcommand that only holds others, as in `orvikctl dark record`.
inline CLI::App* addGroup(CLI::App& program, const std::string& name, const std::string& what) {
  CLI::App* app = program.add_subcommand(name, what);
  app->require_subcommand(1);
  return app;
}

/// What such a subcommand does: what the one of its members does that was named.
inline Command groupCommand(CLI::App* app, std::vector<Command> members) {
  return {app, [members = std::move(members)] {
            for (const Command& member : members) {
              if (member.options->parsed()) return member.run();
            }
            return ExitCode::kInternal;
          }};
}

}  // namespace orvik::ctl
