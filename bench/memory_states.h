// SPDX-License-Identifier: MIT
/// How much memory a camera needs in each of its states. Each measurement needs a process of its
/// own: what an earlier one has left in the allocator would count as free.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace orvik::bench {

enum class MemoryState {
  kQuery,    ///< its properties have been asked for
  kOpen,     ///< open and initialised
  kVideo8,   ///< 8-bit video of the whole sensor, a caller waits for each frame
  kVideo16,  ///< the same with 16 bits
  // With 16 bits if the model has them.
  kLateCaller,  ///< video, and no one has fetched a frame for a while
  kSnapshot,    ///< a snapshot is ready and not fetched yet
  kStopped,     ///< video has been stopped
};

std::optional<MemoryState> memoryStateOf(std::string_view name);

struct MemoryUse {
  std::size_t bytes = 0;
  std::size_t frameBytes = 0;  ///< of a frame in this state
  double frames() const { return static_cast<double>(bytes) / static_cast<double>(frameBytes); }
};

/// The anonymous memory of this process that is resident, in bytes: heap, stacks, mapped buffers
/// and changed data of libraries; neither files nor code.
std::size_t residentBytes();

/// By how much the library's memory grows in the state, without the frame of the caller. Frames are
/// prepared (see prepared_host.h), so that there is no sky of a virtual camera.
/// @return nothing if the model does not have the state, or an error occurred
std::optional<MemoryUse> libraryMemory(const char* model, MemoryState state);

/// The same of the library and a virtual camera under the stars together.
std::optional<MemoryUse> memoryWithVirtualCamera(const char* model, MemoryState state);

}  // namespace orvik::bench
