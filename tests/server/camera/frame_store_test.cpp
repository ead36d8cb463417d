// SPDX-License-Identifier: MIT
#include "integrations/server/camera/frame_store.h"

#include <gtest/gtest.h>

namespace orvik::server {
namespace {

TEST(FrameStoreTest, FramesAreBoundedAndTheirMemoryIsUsedAgain) {
  auto store = std::make_unique<FrameStore>(2);
  auto one = store->take();
  auto other = store->take();
  ASSERT_TRUE(one != nullptr && other != nullptr);
  EXPECT_EQ(store->take(), nullptr);
  const auto* memory = one->reserve(1000).data();
  one.reset();
  one = store->take();
  EXPECT_EQ(one->reserve(1000).data(), memory);

  EXPECT_EQ(store->take(), nullptr);

  store.reset();  // a viewer may keep its frame longer than the camera is open
  EXPECT_EQ(one->reserve(1000).data(), memory);
}

}  // namespace
}  // namespace orvik::server
