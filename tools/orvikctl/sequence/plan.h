// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/orvikctl/capture/cooling_options.h"
#include "tools/orvikctl/capture/flat_exposure.h"

namespace orvik::ctl {

using Microseconds = std::chrono::microseconds;

/// Images of one kind in a sequence.
struct StepPlan {
  std::string kind = "light";  ///< light, dark, bias or flat
  std::int64_t count = 1;
  std::optional<Microseconds> exposure;  ///< nothing for flats that find their exposure
  std::optional<FlatTarget> flat;
  std::string filter;  ///< name for the header and the file; may be empty
  std::string pause;   ///< what the user is asked to do before the step; empty for no pause

  // Empty for the settings of the command line.
  std::optional<int> gain;
  std::optional<int> offset;
  std::optional<int> bin;
  std::string type;
  std::string region;
};

/// Small moves of the mount between light images.
struct DitherPlan {
  std::chrono::milliseconds pulse{500};  ///< along one axis, from the middle to the border
  int every = 1;                         ///< light images between two moves
  Microseconds settle{5'000'000};        ///< rest after a move
};

/// A command that runs after each image.
struct CommandPlan {
  std::string text;  ///< for /bin/sh; {file} stands for the image, else it is appended
  Microseconds limit{60'000'000};
  bool mustSucceed = false;
};

/// A sequence of images.
struct SequencePlan {
  std::string object;
  std::string observer;
  std::string telescope;
  std::string name;                      ///< of the files, with their folder; see FileNames
  std::int64_t repeat = 1;               ///< how often the steps are done
  std::optional<Microseconds> interval;  ///< between the starts of images
  CoolingOptions cooling;
  std::optional<DitherPlan> dither;
  std::optional<CommandPlan> command;
  std::vector<StepPlan> steps;
};

/// Limits of what a plan may ask for, so that a slip of the keyboard is found.
inline constexpr std::int64_t kMostImages = 100'000;

}  // namespace orvik::ctl
