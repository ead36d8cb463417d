// SPDX-License-Identifier: MIT
// Dark frames, hot pixels and the time mark on a whole virtual camera.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "camera/dark_file.h"
#include "models/models.h"
#include "support/scratch_folder.h"
#include "support/virtual_bench.h"

namespace orvik::test {
namespace {

constexpr int kSensorWidth = 1304;
constexpr int kSensorHeight = 976;
constexpr std::size_t kSensorPixels = std::size_t{kSensorWidth} * kSensorHeight;
constexpr int kLevel = 50;

using Bytes = std::vector<std::uint8_t>;

/// Light that makes every 8-bit sample kLevel at 10 ms and gain 0.
class EvenScene : public sim::Scene {
 public:
  void illuminate(const sim::SensorFormat&, const sim::Area&,
                  std::span<float> flux) const override {
    const double electrons = (16.0 * kLevel + 8) * sim::findModel("T15C")->pixel.fullScale / 4095;
    std::ranges::fill(flux, static_cast<float>(electrons / 0.01));
  }
};

class DarksTest : public ::testing::Test {
 protected:
  void plugEven() {
    sim::CameraOptions options;
    options.scene = std::make_shared<EvenScene>();
    options.noise = false;
    options.pace = sim::Pace::kFree;
    plug(options);
    camera_->SetBrightness(0);
    camera_->SetGain(0, false);
    camera_->SetExp(10000, false);
  }

  /// Takes another camera in the place of the one before.
  void plug(sim::CameraOptions options) {
    camera_ = nullptr;
    bench_.host().unplugAll();
    options.serial = 0x1234ABCD;
    bench_.plug(options);
    open();
  }
  void open() {
    camera_ = nullptr;
    camera_ = std::make_unique<CCameraT15C>();
    ASSERT_TRUE(camera_->OpenCamera(1));
    ASSERT_TRUE(camera_->InitCamera());
    camera_->SetRGBBalance(50, 50, false);
    camera_->state().rawOutput = true;
  }

  Bytes take(std::size_t bytes) {
    Bytes image(bytes);
    EXPECT_TRUE(camera_->StartCapture(false));
    EXPECT_TRUE(camera_->GetImage(image.data(), static_cast<int>(bytes), 20000));
    EXPECT_TRUE(camera_->StopCapture());
    return image;
  }

  /// Takes a dark of the whole sensor with the present exposure.
  void recordDark() {
    ASSERT_TRUE(camera_->SetResolution(kSensorWidth, kSensorHeight, 1, IMAGE_8BIT));
    ASSERT_TRUE(camera_->StartCapture(false));
    const int frames = camera_->GettingDark(true, 0);
    Bytes image(kSensorPixels);
    for (int i = 0; i < frames; ++i) {
      EXPECT_FALSE(camera_->IsGetDarkOver());
      ASSERT_TRUE(camera_->GetImage(image.data(), static_cast<int>(image.size()), 20000));
    }
    EXPECT_TRUE(camera_->IsGetDarkOver());
    ASSERT_TRUE(camera_->StopCapture());
  }

  ScratchFolder folder_;
  VirtualBench bench_;
  std::unique_ptr<CCameraT15C> camera_;
};

struct Request {
  int width, height, bin;
  bool hardwareBin;
  int x, y;
};

/// The dark's samples in a region before any binning, and what is subtracted of them.
class RegionDark {
 public:
  RegionDark(const Bytes& dark, const Request& request) : dark_(dark), r_(request) {}

  /// What a delivered pixel reads when every sample of the sensor reads kLevel.
  [[nodiscard]] int expected(int x, int y) const {
    if (!r_.hardwareBin || r_.bin == 1) {
      int sum = 0;
      forEachOf(x, y, [&](int dark) { sum += subtracted(dark, pixelMean()); });
      return std::min(sum, 255);
    }
    std::vector<int> samples;
    forEachOf(x, y, [&](int dark) { samples.push_back(dark); });
    if (r_.bin == 2) return subtracted(weighed(samples, pixelMean()), pixelMean());
    return subtracted(rounded(samples), binnedMean());
  }

 private:
  static int subtracted(double dark, int mean) {
    return static_cast<int>(std::clamp(std::floor(kLevel - dark + mean + 0.5), 0.0, 255.0));
  }
  static double weighed(const std::vector<int>& four, int mean) {
    // In the order of columns first, as the samples are combined.
    const std::vector<int> ordered = {four[0], four[2], four[1], four[3]};
    const double sum = four[0] + four[1] + four[2] + four[3];
    for (const int sample : ordered) {
      if (sample > mean + 30) return (6.0 * sample + sum) / 10;
    }
    return sum / 4;
  }
  static double rounded(const std::vector<int>& samples) {
    double sum = 0;
    for (const int sample : samples) sum += sample;
    return std::ceil(sum / static_cast<double>(samples.size()) - 0.5);
  }
  template <class Use>
  void forEachOf(int x, int y, Use use) const {
    const int b = r_.bin;
    for (int j = 0; j < b; ++j) {
      for (int i = 0; i < b; ++i) {
        const int column = r_.x + x % 2 + x / 2 * 2 * b + 2 * i;
        const int row = r_.y + y % 2 + y / 2 * 2 * b + 2 * j;
        use(dark_[static_cast<std::size_t>(row * kSensorWidth + column)]);
      }
    }
  }
  [[nodiscard]] int pixelMean() const {
    if (pixelMean_ >= 0) return pixelMean_;
    std::int64_t sum = 0;
    for (int y = 0; y < r_.height * r_.bin; ++y) {
      for (int x = 0; x < r_.width * r_.bin; ++x) {
        sum += dark_[static_cast<std::size_t>((r_.y + y) * kSensorWidth + r_.x + x)];
      }
    }
    pixelMean_ = static_cast<int>(sum / (r_.width * r_.height * r_.bin * r_.bin));
    return pixelMean_;
  }
  [[nodiscard]] int binnedMean() const {
    if (binnedMean_ >= 0) return binnedMean_;
    double sum = 0;
    for (int y = 0; y < r_.height; ++y) {
      for (int x = 0; x < r_.width; ++x) {
        std::vector<int> samples;
        forEachOf(x, y, [&](int dark) { samples.push_back(dark); });
        sum += rounded(samples);
      }
    }
    binnedMean_ = static_cast<int>(sum / (r_.width * r_.height));
    return binnedMean_;
  }

  const Bytes& dark_;
  const Request& r_;
  mutable int pixelMean_ = -1;
  mutable int binnedMean_ = -1;
};

TEST_F(DarksTest, EveryRegionAndBinLosesItsPartOfTheDark) {
  plugEven();
  Bytes dark(kSensorPixels);
  std::mt19937 generator(9);
  for (auto& pixel : dark) {
    pixel = static_cast<std::uint8_t>(generator() % 12 + (generator() % 40 == 0 ? 60 : 0));
  }
  const std::string path = folder_.file("dark.bmp");
  ASSERT_EQ(CCameraBase::CreateBMP(kSensorWidth, kSensorHeight, dark.data(), path.c_str()), 1);
  ASSERT_EQ(camera_->LoadBMPFromFile(path.c_str()), 1);
  camera_->UsingDark(true);

  std::vector<Request> requests = {{1304, 976, 1, true, 0, 0}};
  for (int bin = 1; bin <= 4; ++bin) {
    for (const bool hardware : {true, false}) requests.push_back({96, 62, bin, hardware, 204, 98});
  }
  for (const Request& request : requests) {
    SCOPED_TRACE("bin " + std::to_string(request.bin) +
                 (request.hardwareBin ? " camera" : " host"));
    camera_->SetHardwareBin(request.hardwareBin);
    ASSERT_TRUE(camera_->SetResolution(request.width, request.height, request.bin, IMAGE_8BIT));
    ASSERT_TRUE(camera_->SetStartPos(request.x, request.y));
    const Bytes image =
        take(static_cast<std::size_t>(request.width) * static_cast<std::size_t>(request.height));
    const RegionDark regionDark(dark, request);
    int wrong = 0;
    for (int y = 0; y < request.height; ++y) {
      for (int x = 0; x < request.width; ++x) {
        const int value = image[static_cast<std::size_t>(y * request.width + x)];
        if (value != regionDark.expected(x, y) && ++wrong <= 5) {
          ADD_FAILURE() << x << "," << y << ": " << value << ", not " << regionDark.expected(x, y);
        }
      }
    }
    ASSERT_EQ(wrong, 0);
  }
}

TEST_F(DarksTest, SkippedForShortAutomaticExposuresAndSixteenBits) {
  plugEven();
  Bytes dark(kSensorPixels);
  dark[40 * kSensorWidth + 40] = 40;
  const std::string path = folder_.file("dark.bmp");
  ASSERT_TRUE(writeDarkFile(path, kSensorWidth, kSensorHeight, dark));
  ASSERT_EQ(camera_->LoadBMPFromFile(path.c_str()), 1);
  camera_->UsingDark(true);
  ASSERT_TRUE(camera_->SetResolution(64, 64, 1, IMAGE_8BIT));
  camera_->SetStartPos(0, 0);
  const auto deliver = [&](bool automatic, std::uint64_t exposureUs) {
    Bytes image(64 * 64);
    camera_->SetExp(exposureUs, automatic);
    EXPECT_TRUE(camera_->StartCapture(true));
    EXPECT_TRUE(eventually([&] { return camera_->capture().status() == Orvik_EXPSTATE_READY; }));
    EXPECT_TRUE(camera_->GetImage(image.data(), 64 * 64, 10000));
    camera_->StopCapture();
    camera_->SetExp(10000, false);
    return int{image[40 * 64 + 40]};
  };
  constexpr int kWhite = 255;  // so long exposures are
  EXPECT_EQ(deliver(false, 100000), kWhite - 40);
  EXPECT_EQ(deliver(true, 499999), kWhite);
  EXPECT_EQ(deliver(true, 500000), kWhite - 40);

  ASSERT_TRUE(camera_->SetResolution(64, 64, 1, IMAGE_RAW16));
  camera_->SetStartPos(0, 0);
  const Bytes wide = take(64 * 64 * 2);
  EXPECT_EQ(wide[(40 * 64 + 40) * 2 + 1], kLevel);
}

TEST_F(DarksTest, ATakenDarkIsTheMeanOfTheFrames) {
  plugEven();
  recordDark();
  int taken = 0;
  int wanted = 0;
  camera_->GetDarkCount(&taken, &wanted);
  EXPECT_EQ(taken, 5);
  EXPECT_EQ(wanted, 5);
  const std::string path = folder_.file("taken.bmp");
  ASSERT_EQ(camera_->SaveBMPToFile(path.c_str()), 1);
  EXPECT_EQ(camera_->GetBMPPath(), path);
  Bytes pixels(kSensorPixels);
  ASSERT_EQ(readDarkFile(path, kSensorWidth, kSensorHeight, pixels), DarkFileResult::kDone);
  EXPECT_EQ(pixels, Bytes(kSensorPixels, kLevel));
}

TEST_F(DarksTest, TheTableTravelsWithTheCamera) {
  plugEven();
  EXPECT_FALSE(camera_->IsHPCEnable()) << "a new camera has none";
  EXPECT_FALSE(camera_->SaveHPCTable());
  EXPECT_FALSE(camera_->ChangeHPCStatus(HPC_ON));
  ASSERT_TRUE(camera_->ManualHPC(10, 12, true));
  ASSERT_TRUE(camera_->ManualHPC(1303, 0, true));
  ASSERT_TRUE(camera_->StartCapture(false));
  EXPECT_FALSE(camera_->SaveHPCTable()) << "the stream has the flash's bus";
  ASSERT_TRUE(camera_->StopCapture());
  ASSERT_TRUE(camera_->SaveHPCTable());

  open();
  EXPECT_TRUE(camera_->IsHPCEnable());
  int onSensor = 0;
  int inRegion = 0;
  camera_->GetHPSum(&onSensor, &inRegion);
  EXPECT_EQ(onSensor, 2);
  EXPECT_EQ(inRegion, 2);
  ASSERT_TRUE(camera_->SetResolution(64, 64, 1, IMAGE_8BIT));
  camera_->SetStartPos(0, 0);
  camera_->GetHPSum(&onSensor, &inRegion);
  EXPECT_EQ(inRegion, 1);
}

TEST_F(DarksTest, ATableIsStoredAndReadBack) {
  plugEven();
  HotPixelTable table(hotPixelTableBytes(kSensorWidth, kSensorHeight));
  for (std::size_t i = 3; i < table.size(); i += 5003) table[i] = 0x24;
  int length = 0;
  const Bytes stored = CCameraBase::Compress(table.data(), static_cast<int>(table.size()), &length);
  ASSERT_LE(static_cast<std::size_t>(length), stored.size());
  EXPECT_EQ(camera_->Uncompress(stored.data(), length), table);
}

TEST_F(DarksTest, TheTimeIsInTheImageWhileItIsWanted) {
  plugEven();
  ASSERT_TRUE(camera_->SetResolution(240, 60, 1, IMAGE_8BIT));
  EXPECT_EQ(take(240 * 60), Bytes(240 * 60, kLevel));
  camera_->SetTimeMark(true);
  const Bytes grey = take(240 * 60);
  EXPECT_EQ(std::ranges::count(grey, 0) + std::ranges::count(grey, 255), 20 * 8 * 11);
  ASSERT_TRUE(camera_->SetResolution(240, 60, 1, IMAGE_RGB24));
  const Bytes colour = take(240 * 60 * 3);
  EXPECT_EQ(std::ranges::count(colour, 0) + std::ranges::count(colour, 255), 20 * 8 * 11 * 3);
  ASSERT_TRUE(camera_->SetResolution(240, 60, 1, IMAGE_RAW16));
  const Bytes wide = take(240 * 60 * 2);
  EXPECT_EQ(std::ranges::count(wide, 255), 0);
}

/// How far an image lies from one of a perfect sensor, as the root of the mean square.
double deviation(const Bytes& image, const Bytes& perfect) {
  double sum = 0;
  for (std::size_t i = 0; i < image.size(); ++i) {
    const double d = int{image[i]} - int{perfect[i]};
    sum += d * d;
  }
  return std::sqrt(sum / static_cast<double>(image.size()));
}

TEST_F(DarksTest, CorrectionsBringALongExposureNearerToAPerfectSensor) {
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  options.ambient = 35;
  const auto expose = [&] {
    camera_->SetBrightness(80);
    camera_->SetGain(100, false);
    camera_->SetExp(900000, false);
    EXPECT_TRUE(camera_->SetResolution(kSensorWidth, kSensorHeight, 1, IMAGE_8BIT));
  };
  options.sceneKind = sim::SceneKind::kDark;
  plug(options);
  expose();
  recordDark();
  const std::string path = folder_.file("covered.bmp");
  ASSERT_EQ(camera_->SaveBMPToFile(path.c_str()), 1);

  options.sceneKind = sim::SceneKind::kGradient;
  options.light = 0.009;
  options.noise = false;
  plug(options);
  expose();
  const Bytes perfect = take(kSensorPixels);

  options.noise = true;
  plug(options);
  expose();
  const double raw = deviation(take(kSensorPixels), perfect);
  ASSERT_EQ(camera_->LoadBMPFromFile(path.c_str()), 1);
  camera_->UsingDark(true);
  const double darkOnly = deviation(take(kSensorPixels), perfect);
  camera_->UsingDark(false);
  ASSERT_TRUE(camera_->AutoGetHPC());
  ASSERT_TRUE(camera_->ChangeHPCStatus(HPC_ON));
  const double hotOnly = deviation(take(kSensorPixels), perfect);
  camera_->UsingDark(true);
  const double both = deviation(take(kSensorPixels), perfect);
  int onSensor = 0;
  int inRegion = 0;
  camera_->GetHPSum(&onSensor, &inRegion);

  RecordProperty("raw", std::to_string(raw));
  RecordProperty("dark", std::to_string(darkOnly));
  RecordProperty("hotPixels", std::to_string(hotOnly));
  RecordProperty("both", std::to_string(both));
  RecordProperty("hotPixelsFound", onSensor);
  EXPECT_LT(darkOnly, 0.8 * raw);
  EXPECT_LT(hotOnly, 0.8 * raw);
  EXPECT_LT(both, 0.8 * raw);
}

}  // namespace
}  // namespace orvik::test
