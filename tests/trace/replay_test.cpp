// SPDX-License-Identifier: MIT
// Records a session with a virtual camera and replays it to the driver without the camera.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "orvik/orvik.h"
#include "support/own_folder.h"
#include "support/virtual_bench.h"
#include "trace/recording_host.h"
#include "trace/replay_host.h"

namespace orvik::test {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ReplayTest : public ::testing::Test {
 protected:
  static constexpr int kImageBytes = 320 * 240;

  ~ReplayTest() override { installHost(nullptr); }

  /// Opens and configures a camera, takes a snapshot and closes it.
  static std::vector<unsigned char> session(int gain) {
    std::vector<unsigned char> image(kImageBytes);
    EXPECT_EQ(OrvikGetNumOfConnectedCameras(), 1);
    EXPECT_EQ(OrvikOpenCamera(0), Orvik_OK);
    EXPECT_EQ(OrvikSetROIFormat(0, 320, 240, 1, Orvik_IMG_RAW8), Orvik_OK);
    OrvikSetControlValue(0, Orvik_CTL_GAIN, gain, Orvik_FALSE);
    OrvikSetControlValue(0, Orvik_CTL_EXPOSURE, 20'000, Orvik_FALSE);
    EXPECT_EQ(OrvikStartExposure(0), Orvik_OK);
    EXPECT_TRUE(eventually([] {
      Orvik_EXPOSURE_STATUS status = Orvik_EXPSTATE_NONE;
      OrvikGetExpStatus(0, &status);
      return status == Orvik_EXPSTATE_READY;
    }));
    EXPECT_EQ(OrvikGetDataAfterExp(0, image.data(), kImageBytes), Orvik_OK);
    EXPECT_EQ(OrvikCloseCamera(0), Orvik_OK);
    return image;
  }

  std::vector<unsigned char> record(trace::BulkData data) {
    const auto camera = std::make_shared<sim::SimHost>();
    sim::CameraOptions options;
    options.sceneKind = sim::SceneKind::kGrey;
    camera->plug(*sim::findModel("T15C"), options);
    installHost(trace::recorded(camera, file().string(), data));
    const auto image = session(100);
    installHost(nullptr);
    forgetSettings();
    return image;
  }

  /// Deletes the stored settings: the driver remembers them, and the replay has to start from the
  /// same state as the recording.
  static void forgetSettings() {
    std::filesystem::remove_all(std::filesystem::path(std::getenv("XDG_CONFIG_HOME")) / "orvik");
  }

  std::shared_ptr<trace::ReplayHost> replay() {
    trace::Conversation conversation;
    EXPECT_EQ(trace::readConversation(contentsOf(file()), conversation), "");
    auto host = std::make_shared<trace::ReplayHost>(std::move(conversation));
    installHost(host);
    return host;
  }

  [[nodiscard]] std::filesystem::path file() const { return folder_.path() / "night.txt"; }

  OwnFolder folder_;
};

TEST_F(ReplayTest, TheSameSessionGivesTheSameImageWithoutACamera) {
  const auto recorded = record(trace::BulkData::kWhole);
  const auto host = replay();
  EXPECT_EQ(session(100), recorded);
  installHost(nullptr);
  EXPECT_THAT(host->departures(), IsEmpty());
}

TEST_F(ReplayTest, OfAShortRecordingTheFrameIsGoodAndItsMiddleEmpty) {
  record(trace::BulkData::kEnds);
  EXPECT_LT(std::filesystem::file_size(file()), 60'000U);
  const auto host = replay();
  const auto image = session(100);
  EXPECT_EQ(image[kImageBytes / 2], 0);
  EXPECT_NE(image[12], 0);
  installHost(nullptr);
  EXPECT_THAT(host->departures(), IsEmpty());
}

TEST_F(ReplayTest, ADriverThatDoesOtherwiseIsTold) {
  record(trace::BulkData::kEnds);
  const auto host = replay();
  session(150);
  installHost(nullptr);
  const auto departures = host->departures();
  ASSERT_FALSE(departures.empty());
  EXPECT_THAT(departures.front(), HasSubstr("not recorded: request 40 B6"));
  EXPECT_THAT(departures.back(), HasSubstr("left out: request 40 B6"));
}

TEST_F(ReplayTest, AFileThatCannotBeMadeDoesNotDisturb) {
  const auto camera = std::make_shared<sim::SimHost>();
  const std::shared_ptr<seam::Host> host = camera;
  EXPECT_EQ(trace::recorded(host, "/nowhere/night.txt", trace::BulkData::kEnds), host);
}

}  // namespace
}  // namespace orvik::test
