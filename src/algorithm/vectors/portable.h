// SPDX-License-Identifier: MIT
/// The portable target of Highway, for processors without vectors that it knows: one sample at a
/// time, or emulated vectors if the compiler is good enough. The runs for pixels do nothing there,
/// and their callers do all of it one by one: an emulated demosaic takes 58 instructions for each
/// pixel, the plain loop 24.
#pragma once

/// For #if, within the code that is compiled for each target.
#define ORVIK_PORTABLE_TARGET (HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128)
