// SPDX-License-Identifier: MIT
#include "integrations/server/alpaca/image_room.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <thread>

namespace orvik::server {
namespace {

using namespace std::chrono_literals;  // NOLINT(google-build-using-namespace)

TEST(ImageRoom, TheNextImageWaitsForTheFormerOne) {
  ImageRoom room(1min);
  auto former = room.make(3, 5, 2, {});
  ASSERT_EQ(former->bytes().size(), 30U);
  auto next = std::async(std::launch::async, [&] { return room.make(7, 2, 1, {}); });
  EXPECT_EQ(next.wait_for(50ms), std::future_status::timeout);
  EXPECT_FALSE(former->recalled.stop_requested());
  former.reset();
  ASSERT_EQ(next.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(next.get()->bytes().size(), 14U);
}

TEST(ImageRoom, AnImageThatIsKeptForTooLongIsRecalled) {
  ImageRoom room(10ms);
  std::shared_ptr<AlpacaImage> former = room.make(3, 5, 2, {});
  // As a download does that is broken off.
  const std::stop_token recalled = former->recalled;
  const std::stop_callback letGo(recalled, [&former] { former.reset(); });
  const auto next = room.make(3, 5, 2, {});
  ASSERT_NE(next, nullptr);
  EXPECT_TRUE(recalled.stop_requested());
  EXPECT_FALSE(next->recalled.stop_requested());
}

TEST(ImageRoom, AStopEndsTheWait) {
  ImageRoom room(1min);
  const auto former = room.make(3, 5, 2, {});
  std::stop_source stop;
  auto next = std::async(std::launch::async, [&] { return room.make(3, 5, 2, stop.get_token()); });
  stop.request_stop();
  ASSERT_EQ(next.wait_for(20s), std::future_status::ready);
  EXPECT_EQ(next.get(), nullptr);
  EXPECT_FALSE(former->recalled.stop_requested());
}

TEST(ImageRoom, AnImageOutlivesItsRoom) {
  std::optional<ImageRoom> room(std::in_place);
  const auto image = room->make(3, 5, 2, {});
  room.reset();
  image->as<std::uint16_t>()[14] = 1;
}

}  // namespace
}  // namespace orvik::server
