// SPDX-License-Identifier: MIT
// The memory of the camera with the largest frames. CTest runs each case in a process of its own.
#include <gtest/gtest.h>

#include "bench/memory_states.h"

namespace orvik::bench {
namespace {

constexpr double kOtherMemory = 0.1;  // of everything but frames, in frames

TEST(MemoryTest, VideoNeedsFiveFramesAtMost) {
  const auto use = libraryMemory("T05C", MemoryState::kLateCaller);
  ASSERT_TRUE(use);
  EXPECT_LT(use->frames(), 5 + kOtherMemory);
  EXPECT_GT(use->frames(), 4) << "two are queued, one was delivered, two are in flight";
}

TEST(MemoryTest, VideoOfAPromptCallerNeedsThree) {
  const auto use = libraryMemory("T05C", MemoryState::kVideo16);
  ASSERT_TRUE(use);
  EXPECT_LT(use->frames(), 3 + kOtherMemory);
  EXPECT_GT(use->frames(), 1);
}

TEST(MemoryTest, AfterACaptureItIsGivenBack) {
  const auto use = libraryMemory("T05C", MemoryState::kStopped);
  ASSERT_TRUE(use);
  EXPECT_LT(use->frames(), kOtherMemory);
}

TEST(MemoryTest, AVirtualSkyNeedsTheSignalOfOneFrameAndSomeRows) {
  const auto use = memoryWithVirtualCamera("T05C", MemoryState::kVideo16);
  ASSERT_TRUE(use);
  EXPECT_LT(use->frames(), 3 + 2 + 0.4);
}

}  // namespace
}  // namespace orvik::bench
