// SPDX-License-Identifier: MIT
// A picture is the same however it is divided into rows, and whatever is kept from earlier ones.
#include <gtest/gtest.h>

#include <chrono>
#include <vector>

#include "sim/picture/picture_maker.h"

namespace orvik::sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Case {
  const char* model;
  SceneKind scene;
  int bin;
  bool moves;
};

FrameSettings settingsOf(const Model& model, const Case& kind) {
  FrameSettings settings;
  settings.area = {4, 6, model.sensor.width - 20, 301};
  settings.bin = kind.bin;
  settings.columns = settings.area.width / kind.bin / 4 * 4;
  settings.rows = settings.area.height / kind.bin;
  settings.wideOutput = true;
  settings.exposure = std::chrono::milliseconds(20);
  settings.amplification = 8;
  settings.blackLevel = 100;
  return settings;
}

Bytes rowsOf(PictureMaker& maker, const FrameSettings& settings, const Look& look,
             std::uint64_t number, const RowRange& rows) {
  Bytes bytes(2 * static_cast<std::size_t>(settings.columns) *
              static_cast<std::size_t>(rows.count()));
  maker.make(settings, look, number, rows, bytes);
  return bytes;
}

class PictureTest : public ::testing::TestWithParam<Case> {};

TEST_P(PictureTest, IsTheSameInPieces) {
  const Model& model = *findModel(GetParam().model);
  const FrameSettings settings = settingsOf(model, GetParam());
  CameraOptions options;
  options.sceneKind = GetParam().scene;
  options.light = 1.5;
  Look look;
  if (GetParam().moves) look = {.places = {{{3.3, -1.8}, 1}}, .airSigma = 1.2, .discRadius = 0};
  PictureMaker inPieces(model, options, 7);
  for (const std::uint64_t number : {1U, 2U, 3U, 3U}) {
    PictureMaker fresh(model, options, 7);
    const Bytes whole = rowsOf(fresh, settings, look, number, {0, settings.rows});
    Bytes pieces;
    for (int row = 0, rows = 1; row < settings.rows; row += rows, rows += 40) {
      const RowRange range{row, std::min(row + rows, settings.rows)};
      const Bytes piece = rowsOf(inPieces, settings, look, number, range);
      pieces.insert(pieces.end(), piece.begin(), piece.end());
    }
    EXPECT_TRUE(pieces == whole) << "picture " << number;
    // Out of turn, as when registers change while a frame is read out.
    const int middle = settings.rows / 2 + 1;
    const Bytes rest = rowsOf(inPieces, settings, look, number + 1, {middle, settings.rows});
    const Bytes next = rowsOf(fresh, settings, look, number + 1, {0, settings.rows});
    EXPECT_TRUE(std::equal(rest.rbegin(), rest.rend(), next.rbegin())) << "picture " << number;
  }
}

INSTANTIATE_TEST_SUITE_P(, PictureTest,
                         ::testing::Values(Case{"T15C", SceneKind::kStars, 1, false},
                                           Case{"T15C", SceneKind::kStars, 2, true},
                                           Case{"T10M", SceneKind::kStars, 3, false},
                                           Case{"T15C", SceneKind::kMoon, 2, false},
                                           Case{"T10M", SceneKind::kPlanet, 1, true},
                                           Case{"T15C", SceneKind::kGradient, 2, false}));

}  // namespace
}  // namespace orvik::sim
