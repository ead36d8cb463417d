// SPDX-License-Identifier: MIT
#pragma once

#include "tools/orvikctl/common_options.h"

namespace orvik::ctl {

// Each adds its subcommand to the program and returns what it does.

Command addList(CLI::App& program);
Command addInfo(CLI::App& program);
Command addControls(CLI::App& program);
Command addGet(CLI::App& program);
Command addSet(CLI::App& program);
Command addSettings(CLI::App& program);
Command addSnap(CLI::App& program);
Command addSequence(CLI::App& program);
Command addVideo(CLI::App& program);
Command addGuide(CLI::App& program);
Command addView(CLI::App& program);
Command addFocus(CLI::App& program);
Command addDark(CLI::App& program);
Command addCool(CLI::App& program);
Command addHotPixels(CLI::App& program);
Command addId(CLI::App& program);
Command addFlash(CLI::App& program);
Command addFirmware(CLI::App& program);
Command addSelftest(CLI::App& program);
Command addDoctor(CLI::App& program);

}  // namespace orvik::ctl
