// SPDX-License-Identifier: MIT
// Tests every product end to end: it is found, described and opened, and takes images of every
// image type and bin. The scene is dark except for a lit corner: its edges show where each pixel
// comes from, and its colours show the mosaic.
#include <gtest/gtest.h>

#include <array>
#include <ostream>
#include <vector>

#include "orvik/orvik_service.h"
#include "support/virtual_bench.h"

namespace orvik::sim {
void PrintTo(const Model& model, std::ostream* out) { *out << model.code; }
}  // namespace orvik::sim

namespace orvik::test {
namespace {

/// Sensor coordinates at which the lit corner begins. They are even, so that the corner holds whole
/// cells of the mosaic.
constexpr int kCornerX = 108;
constexpr int kCornerY = 72;

/// Exposure time in which the lit corner collects a known share of the converter's range; the flux
/// is in electrons a second.
constexpr std::int32_t kExposureUs = 20'000;

class CornerScene final : public sim::Scene {
 public:
  explicit CornerScene(const sim::Model& model)
      : fullScale_(model.pixel.fullScale * 1e6 / kExposureUs) {}

  void illuminate(const sim::SensorFormat& sensor, const sim::Area& area,
                  std::span<float> flux) const override {
    std::size_t n = 0;
    for (int y = area.y; y < area.y + area.height; ++y) {
      for (int x = area.x; x < area.x + area.width; ++x, ++n) {
        const bool lit = x >= kCornerX && y >= kCornerY;
        flux[n] = lit ? static_cast<float>(fullScale_ * shareOf(sensor.filterAt(x, y))) : 0.0F;
      }
    }
  }

 private:
  static double shareOf(sim::Filter filter) {
    switch (filter) {
      case sim::Filter::kRed:
        return 0.055;
      case sim::Filter::kBlue:
        return 0.020;
      default:
        return 0.035;
    }
  }

  double fullScale_;
};

struct Format {
  IMG_TYPE type;
  int width, height, bin;
  bool hardwareBin;
};

std::ostream& operator<<(std::ostream& out, const Format& format) {
  return out << format.width << "x" << format.height << " bin " << format.bin
             << (format.hardwareBin ? " in the camera" : " on the host") << " type " << format.type;
}

class EveryModelTest : public ::testing::TestWithParam<sim::Model> {
 protected:
  void SetUp() override {
    sim::CameraOptions options;
    options.scene = std::make_shared<CornerScene>(GetParam());
    options.noise = false;
    options.pace = sim::Pace::kFree;
    id_ = bench_.host().plug(GetParam(), options);
    ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
    ASSERT_EQ(OrvikGetCameraProperty(&info_, 0), Orvik_OK);
    ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
    ASSERT_EQ(OrvikGetCameraProperty(&info_, 0), Orvik_OK);
    set(Orvik_CTL_EXPOSURE, kExposureUs);
    set(Orvik_CTL_GAIN, 0);
    if (offers(Orvik_CTL_BRIGHTNESS)) set(Orvik_CTL_BRIGHTNESS, 0);
    if (info_.colour == Orvik_TRUE) {
      set(Orvik_CTL_WB_R, 50);
      set(Orvik_CTL_WB_B, 50);
    }
  }
  void TearDown() override {
    OrvikCloseCamera(0);
    for (const sim::StrayRequest& stray : bench_.host().strays(id_)) {
      ADD_FAILURE() << "request " << std::hex << int{stray.setup.request} << ", value "
                    << stray.setup.value << (stray.refused ? ", is refused" : ", has no register");
    }
    bench_.host().unplugAll();
    OrvikGetNumOfConnectedCameras();
  }

  static void set(Orvik_CONTROL_TYPE type, std::int32_t value) {
    EXPECT_EQ(OrvikSetControlValue(0, type, value, Orvik_FALSE), Orvik_OK) << type;
  }

  static bool offers(Orvik_CONTROL_TYPE wanted) {
    int count = 0;
    OrvikGetNumOfControls(0, &count);
    for (int n = 0; n < count; ++n) {
      Orvik_CONTROL_CAPS caps;
      if (OrvikGetControlCaps(0, n, &caps) == Orvik_OK && caps.controlType == wanted) return true;
    }
    return false;
  }

  static std::size_t bytesPerPixel(IMG_TYPE type) {
    return type == Orvik_IMG_RGB24 ? 3 : type == Orvik_IMG_RAW16 ? 2 : 1;
  }

  void setFormat(const Format& format) {
    if (offers(Orvik_CTL_HARDWARE_BIN)) set(Orvik_CTL_HARDWARE_BIN, format.hardwareBin ? 1 : 0);
    ASSERT_EQ(OrvikSetROIFormat(0, format.width, format.height, format.bin, format.type), Orvik_OK);
    image_.assign(
        static_cast<std::size_t>(format.width * format.height) * bytesPerPixel(format.type), 0xEE);
  }

  Orvik_ERROR_CODE takeVideoFrame() {
    EXPECT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
    const auto result =
        OrvikGetVideoData(0, image_.data(), static_cast<std::int32_t>(image_.size()), 60'000);
    EXPECT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
    return result;
  }

  /// Takes a snapshot. @return the exposure status at its end.
  Orvik_EXPOSURE_STATUS takeSnapshot() {
    EXPECT_EQ(OrvikStartExposure(0), Orvik_OK);
    Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_EXPOSING;
    EXPECT_TRUE(eventually([&] {
      OrvikGetExpStatus(0, &status);
      return status != Orvik_EXPSTATE_EXPOSING;
    }));
    if (status == Orvik_EXPSTATE_READY) {
      OrvikGetDataAfterExp(0, image_.data(), static_cast<std::int32_t>(image_.size()));
    }
    return status;
  }

  [[nodiscard]] int valueAt(const Format& format, int x, int y) const {
    const auto i = static_cast<std::size_t>(y * format.width + x);
    switch (format.type) {
      case Orvik_IMG_RGB24:
        return image_[3 * i + 1];
      case Orvik_IMG_RAW16:
        return image_[2 * i + 1];  // the high byte
      default:
        return image_[i];
    }
  }

  /// Expects the pixels of the corner to be lit and all others to be dark. Two pixels on either
  /// side of an edge may be either, because binning works on cells of the mosaic.
  void expectCorner(const Format& format, int sensorX, int sensorY) const {
    const int edgeX = (kCornerX - sensorX) / format.bin;
    const int edgeY = (kCornerY - sensorY) / format.bin;
    int wrong = 0;
    int judged = 0;
    for (int y = 0; y < format.height; ++y) {
      for (int x = 0; x < format.width; ++x) {
        const bool dark = x < edgeX - 2 || y < edgeY - 2;
        const bool lit = x >= edgeX + 2 && y >= edgeY + 2;
        if (!dark && !lit) continue;
        ++judged;
        const int value = valueAt(format, x, y);
        if ((dark ? value > 1 : value < 3) && ++wrong <= 3) {
          ADD_FAILURE() << "at " << x << "," << y << ": " << value
                        << (dark ? ", not dark" : ", not lit");
        }
      }
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(judged, format.width * format.height / 2);
    if (format.type == Orvik_IMG_RGB24) expectColours(format, edgeX, edgeY);
  }

  void expectColours(const Format& format, int edgeX, int edgeY) const {
    double sums[3] = {};
    for (int y = edgeY + 4; y < format.height; ++y) {
      for (int x = edgeX + 4; x < format.width; ++x) {
        const auto i = 3 * static_cast<std::size_t>(y * format.width + x);
        for (std::size_t c = 0; c < 3; ++c) sums[c] += image_[i + c];
      }
    }
    EXPECT_GT(sums[1], 1.2 * sums[0]) << "green above blue";
    EXPECT_GT(sums[2], 1.2 * sums[1]) << "red above green";
  }

  VirtualBench bench_;
  int id_ = 0;
  Orvik_CAMERA_INFO info_{};
  std::vector<unsigned char> image_;
};

TEST_P(EveryModelTest, EveryTypeAndBinShowsTheScene) {
  const bool onBoth = offers(Orvik_CTL_HARDWARE_BIN);
  for (const IMG_TYPE type : info_.imageTypes) {
    if (type == Orvik_IMG_END) break;
    for (const int bin : info_.bins) {
      if (bin == 0) break;
      for (const bool hardware : {false, true}) {
        if (hardware && !onBoth) continue;
        const Format format{type, 96, 64, bin, hardware};
        SCOPED_TRACE(::testing::PrintToString(format));
        ASSERT_NO_FATAL_FAILURE(setFormat(format));
        ASSERT_EQ(OrvikSetStartPos(0, 24, 16), Orvik_OK);
        int x = 0;
        int y = 0;
        OrvikGetStartPos(0, &x, &y);
        EXPECT_EQ(x, 24);
        EXPECT_EQ(y, 16);
        ASSERT_EQ(takeVideoFrame(), Orvik_OK);
        expectCorner(format, 24 * bin, 16 * bin);
        if (HasFailure()) return;
      }
    }
  }
}

TEST_P(EveryModelTest, KeepsTheHotPixelsInItsCorners) {
  const int right = info_.maxWidth - 1;
  const int bottom = info_.maxHeight - 1;
  const std::vector<std::pair<int, int>> corners = {
      {0, 0}, {right, 0}, {0, bottom}, {right, bottom}};
  for (const auto& [x, y] : corners) {
    ASSERT_EQ(OrvikMarkHotPixel(0, {x, y}, Orvik_TRUE), Orvik_OK);
  }
  ASSERT_EQ(OrvikSaveHotPixels(0), Orvik_OK);
  for (const auto& [x, y] : corners) OrvikMarkHotPixel(0, {x, y}, Orvik_FALSE);
  ASSERT_EQ(OrvikLoadHotPixels(0, nullptr), Orvik_OK);
  std::array<Orvik_PIXEL, 5> found{};
  int count = 0;
  ASSERT_EQ(OrvikGetHotPixels(0, found.data(), 5, &count), Orvik_OK);
  ASSERT_EQ(count, 4);
  for (std::size_t n = 0; n < corners.size(); ++n) {
    EXPECT_EQ(std::pair(found[n].x, found[n].y), corners[n]);
  }
}

TEST_P(EveryModelTest, WholeSensorInASnapshot) {
  const Format format{Orvik_IMG_RAW8, info_.maxWidth, info_.maxHeight, 1, true};
  setFormat(format);
  ASSERT_EQ(takeSnapshot(), Orvik_EXPSTATE_READY);
  expectCorner(format, 0, 0);
}

INSTANTIATE_TEST_SUITE_P(, EveryModelTest,
                         ::testing::ValuesIn(sim::models().begin(), sim::models().end()),
                         [](const auto& test) { return std::string(test.param.code); });

class LongExposureTest : public EveryModelTest {};

TEST_P(LongExposureTest, IsTimedByTheHost) {
  const Format format{Orvik_IMG_RAW8, 96, 64, 1, false};
  setFormat(format);
  ASSERT_EQ(OrvikSetStartPos(0, 24, 16), Orvik_OK);
  set(Orvik_CTL_EXPOSURE, 1'000'000);
  ASSERT_EQ(takeSnapshot(), Orvik_EXPSTATE_READY);
  expectCorner(format, 24, 16);
  set(Orvik_CTL_EXPOSURE, kExposureUs);
  ASSERT_EQ(takeVideoFrame(), Orvik_OK) << "the sensor times its exposures again";
  expectCorner(format, 24, 16);
}

// One model for each kind of board.
INSTANTIATE_TEST_SUITE_P(, LongExposureTest,
                         ::testing::Values(*sim::findModel("T01C"), *sim::findModel("T02C"),
                                           *sim::findModel("T06M_S"), *sim::findModel("T08M"),
                                           *sim::findModel("T11C_C"), *sim::findModel("T15C")),
                         [](const auto& test) { return std::string(test.param.code); });

}  // namespace
}  // namespace orvik::test
