// SPDX-License-Identifier: MIT
#include "tools/orvikctl/recording/tracker.h"

#include <gtest/gtest.h>

#include <cmath>

#include "orvik/orvik_sim.h"

namespace orvik::ctl {
namespace {

using Place = Tracker::Place;

/// A sensor with an object on it, seen through the region.
class Scene {
 public:
  Scene(int bin, int flip, RegionStart start) : start_(start) {
    camera_.maxWidth = 1304;
    camera_.maxHeight = 976;
    format_ = {.width = 320, .height = 240, .bin = bin, .startX = start.x, .startY = start.y};
    flip_ = flip;
  }
  [[nodiscard]] Tracker tracker() const { return {camera_, format_}; }

  /// The next frame shows the object here, in pixels of the sensor after binning.
  void see(Tracker& tracker, double x, double y, bool isSettled = true, bool isLost = false) {
    FrameInfo frame;
    frame.width = format_.width;
    frame.height = format_.height;
    frame.bin = format_.bin;
    frame.startX = start_.x * format_.bin;
    frame.startY = start_.y * format_.bin;
    frame.flip = flip_;
    frame.settled = isSettled ? Orvik_TRUE : Orvik_FALSE;
    Place place{x - start_.x, y - start_.y, 1};
    if ((flip_ & 1) != 0) place.x = format_.width - place.x;
    if ((flip_ & 2) != 0) place.y = format_.height - place.y;
    const auto next = tracker.follow(frame, isLost ? std::nullopt : std::optional(place));
    if (!next) return;
    EXPECT_EQ((next->x - start_.x) % 2, 0) << "the mosaic changes";
    EXPECT_EQ((next->y - start_.y) % 2, 0) << "the mosaic changes";
    start_ = *next;
    ++moves;
  }
  [[nodiscard]] RegionStart start() const { return start_; }

  int moves = 0;

 private:
  Orvik_CAMERA_INFO camera_{};
  ImageFormat format_;
  RegionStart start_;
  int flip_ = 0;
};

TEST(Tracker, KeepsADriftingObjectNearTheMiddle) {
  for (const int bin : {1, 2}) {
    for (const int flip : {0, 1, 2, 3}) {
      Scene scene(bin, flip, {101, 60});
      Tracker tracker = scene.tracker();
      for (int i = 0; i < 150; ++i) {
        const double x = 101 + 160 + 0.7 * i;
        const double y = 60 + 120 + 0.4 * i;
        scene.see(tracker, x, y);
        EXPECT_LT(std::abs(x - scene.start().x - 160), 320 / 8 + 5) << i << " flip " << flip;
        EXPECT_LT(std::abs(y - scene.start().y - 120), 240 / 8 + 5) << i << " flip " << flip;
      }
      EXPECT_GT(scene.moves, 1);
      EXPECT_LT(scene.moves, 10) << "it does not tremble";
    }
  }
}

TEST(Tracker, StaysForDisturbedFramesAndLostObjects) {
  Scene scene(1, 0, {100, 60});
  Tracker tracker = scene.tracker();
  for (int i = 0; i < 40; ++i) {
    const bool isSatellite = i % 10 >= 8;
    const bool isTorn = i % 10 == 5;
    scene.see(tracker, isSatellite || isTorn ? 110 : 260, 180, !isTorn, i % 10 == 2);
  }
  EXPECT_EQ(scene.moves, 0);
}

TEST(Tracker, EndsAtTheEdgesOfTheSensor) {
  for (const RegionStart begin : {RegionStart{100, 60}, RegionStart{101, 61}}) {
    Scene scene(1, 0, begin);
    Tracker tracker = scene.tracker();
    for (int i = 0; i < 20; ++i) scene.see(tracker, 1303, 975);
    EXPECT_EQ(scene.start(), (RegionStart{984 - begin.x % 2, 736 - begin.y % 2}));
    for (int i = 0; i < 20; ++i) scene.see(tracker, 1, 1);
    EXPECT_EQ(scene.start(), (RegionStart{begin.x % 2, begin.y % 2}));
    const int moves = scene.moves;
    for (int i = 0; i < 20; ++i) scene.see(tracker, 1, 1);
    EXPECT_EQ(scene.moves, moves);
  }
}

}  // namespace
}  // namespace orvik::ctl
