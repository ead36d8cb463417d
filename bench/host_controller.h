// SPDX-License-Identifier: MIT
/// What a USB host controller does to the memory of a transfer.
#pragma once

#include <cstdint>
#include <span>

namespace orvik::bench {

/// Copies `bytes` to `to`, on x86 past the caches of this core, as a host controller writes into
/// memory. A thread that plays one and copies with memcpy leaves the frame in the cache of its own
/// core; from there the other threads fetch it in a time that depends on where they run.
void writeAsController(std::span<const std::uint8_t> bytes, std::uint8_t* to);

}  // namespace orvik::bench
