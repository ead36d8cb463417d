// SPDX-License-Identifier: MIT
// Dark subtraction through the flat interface, as a program uses it.
#include <gtest/gtest.h>

#include <vector>

#include "orvik/orvik.h"
#include "orvik/orvik_sim.h"
#include "support/scratch_folder.h"

namespace orvik::test {
namespace {

constexpr std::size_t kPixels = std::size_t{1304} * 976;

/// A dark frame's file for a T15C: zeros, and one pixel.
std::vector<std::uint8_t> darkFile(std::size_t hotAt, std::uint8_t value) {
  std::vector<std::uint8_t> file(1078 + kPixels);
  const std::vector<std::uint8_t> header = {'B',  'M', 0,    0, 0,  0, 0, 0, 0,    0,
                                            0x36, 4,   0,    0, 40, 0, 0, 0, 0x18, 5,
                                            0,    0,   0xD0, 3, 0,  0, 1, 0, 8};
  std::copy(header.begin(), header.end(), file.begin());
  file[1078 + hotAt] = value;
  return file;
}

class DarkSubtractTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_GT(OrvikSimPlug("T15C", "scene=grey,pace=free,seed=3"), 0) << OrvikSimLastError();
    ASSERT_EQ(OrvikGetNumOfConnectedCameras(), 1);
    ASSERT_EQ(OrvikOpenCamera(0), Orvik_OK);
  }
  void TearDown() override {
    OrvikCloseCamera(0);
    OrvikSimUnplugAll();
  }

  Orvik_ERROR_CODE load(const std::string& path) {
    std::string name = path;
    Orvik_BOOL load = Orvik_TRUE;
    return OrvikEnableDarkSubtract(0, name.data(), &load);
  }
  static bool inUse() {
    Orvik_BOOL asked = Orvik_FALSE;
    EXPECT_EQ(OrvikEnableDarkSubtract(0, nullptr, &asked), Orvik_OK);
    return asked != Orvik_FALSE;
  }
  static int pixelAt(std::size_t at) {
    std::vector<unsigned char> image(kPixels);
    const auto bytes = static_cast<std::int32_t>(kPixels);
    EXPECT_EQ(OrvikStartVideoCapture(0), Orvik_OK);
    EXPECT_EQ(OrvikGetVideoData(0, image.data(), bytes, 10000), Orvik_OK);
    EXPECT_EQ(OrvikStopVideoCapture(0), Orvik_OK);
    return image[at];
  }

  ScratchFolder folder_;
};

TEST_F(DarkSubtractTest, LoadsUsesAndEnds) {
  ASSERT_EQ(OrvikSetROIFormat(0, 1304, 976, 1, Orvik_IMG_RAW8), Orvik_OK);
  constexpr std::size_t kHot = 400 * 1304 + 600;
  const std::string path = folder_.file("dark.bmp");
  writeFile(path, darkFile(kHot, 255));
  EXPECT_FALSE(inUse());
  EXPECT_GT(pixelAt(kHot), 20);
  EXPECT_EQ(load(path), Orvik_OK);
  EXPECT_TRUE(inUse());
  EXPECT_EQ(pixelAt(kHot), 0);
  EXPECT_GT(pixelAt(kHot + 1), 20);
  writeFile(folder_.file("text"), std::vector<std::uint8_t>(2000, 'x'));
  EXPECT_EQ(load(folder_.file("text")), Orvik_ERROR_DARK_FILE_FORMAT);
  EXPECT_TRUE(inUse()) << "the dark in use stays";
  EXPECT_EQ(OrvikDisableDarkSubtract(0), Orvik_OK);
  EXPECT_FALSE(inUse());
  EXPECT_GT(pixelAt(kHot), 20);
}

}  // namespace
}  // namespace orvik::test
