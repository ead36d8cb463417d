// SPDX-License-Identifier: MIT
// Names, series and replacement of files, whatever their format.
#include <gmock/gmock.h>

#include <memory>

#include "imaging/errors.h"
#include "imaging/frame_sink.h"
#include "imaging/name_pattern.h"
#include "tests/imaging/test_image.h"

namespace orvik::imaging {
namespace {

using ::testing::ElementsAre;

TEST(NamePattern, PutsTheNumberIn) {
  EXPECT_EQ(NamePattern("a-%09d.png").name(7), "a-000000007.png");
  EXPECT_EQ(NamePattern("%d.fits").name(12), "12.fits");
  EXPECT_EQ(NamePattern("%02d.fits").name(1234), "1234.fits");
  EXPECT_EQ(NamePattern("50%%-%d.png").name(3), "50%-3.png");
  EXPECT_FALSE(NamePattern("50%%.png").isNumbered());
  for (const char* bad : {"%s.png", "%n.png", "%", "%4", "%d%d.png", "%-4d.png", "%10d.p"}) {
    EXPECT_THROW(NamePattern pattern(bad), NameError) << bad;
  }
}

class SinkTest : public FileTest {
 protected:
  [[nodiscard]] std::string textOf(const char* name) const {
    const auto bytes = contentsOf(file(name));
    return {bytes.begin(), bytes.end()};
  }

  const TestImage image_{8, 4, Orvik_IMG_RAW8};
};

TEST_F(SinkTest, TheExtensionChoosesTheFormat) {
  const std::pair<const char*, const char*> beginnings[] = {
      {"a.png", "\x89PNG"}, {"a.FITS", "SIMP"}, {"a.fit", "SIMP"}, {"a.ser", "LUCA"}};
  for (const auto& [name, beginning] : beginnings) {
    const auto sink = makeSink(file(name).string(), 1, false);
    sink->write(image_.image());
    sink->finish();
    const auto bytes = contentsOf(file(name));
    EXPECT_EQ(std::string(bytes.begin(), bytes.begin() + 4), beginning) << name;
  }
  EXPECT_THROW(makeSink(file("a.jpg").string(), 1, false), NameError);
  EXPECT_THROW(makeSink(file("none").string(), 1, false), NameError);
  EXPECT_THROW(makeSink(file("no/a.png").string(), 1, false), FileError);
}

TEST_F(SinkTest, ASeriesNeedsANumber) {
  EXPECT_THROW(makeSink(file("a.png").string(), 2, false), NameError);
  EXPECT_THROW(makeSink(file("a.png").string(), {}, false), NameError);
  const auto sink = makeSink(file("a%02d.png").string(), {}, false);
  for (int i = 0; i < 3; ++i) sink->write(image_.image());
  sink->finish();
  EXPECT_EQ(sink->files(), (std::vector<std::filesystem::path>{file("a01.png"), file("a02.png"),
                                                               file("a03.png")}));
  EXPECT_EQ(filesInFolder(), 3u);
}

TEST_F(SinkTest, ExistingFilesAreReplacedOnlyOnDemand) {
  std::ofstream(file("a2.png")) << "mine";
  // The last of two exists: not even the first is written.
  EXPECT_THROW(makeSink(file("a%d.png").string(), 2, false), FileError);
  // Without a known end it is noticed late; the file stays as it was.
  const auto sink = makeSink(file("a%d.png").string(), {}, false);
  sink->write(image_.image());
  EXPECT_THROW(sink->write(image_.image()), FileError);
  EXPECT_EQ(textOf("a2.png"), "mine");
  EXPECT_EQ(filesInFolder(), 2U);
}

TEST_F(SinkTest, ASeriesGoesOnAfterTheHighestNumber) {
  const std::string pattern = file("a-%02d.png").string();
  EXPECT_EQ(NamePattern(pattern).nextNumber(), 1);
  for (const char* name : {"a-03.png", "a-117.png", "a-200.fits", "b-300.png", "a-0400.png",
                           "a-x500.png", "a-99999999999999999999.png", "a-.png"}) {
    std::ofstream(file(name)) << "mine";
  }
  EXPECT_EQ(NamePattern(pattern).nextNumber(), 118) << "names that the pattern does not make";
  const auto sink = makeSink(pattern, 2, false, FileSystem::system(), 118);
  sink->write(image_.image());
  sink->write(image_.image());
  EXPECT_EQ(sink->files().back(), file("a-119.png"));
}

TEST_F(SinkTest, AFileIsReplacedOnlyWhenTheNewContentsAreOnTheDisk) {
  std::ofstream(file("a1.png")) << "mine";
  FaultyFileSystem disk;
  const auto sink = makeSink(file("a%d.png").string(), 2, true, disk);
  sink->write(image_.image());
  EXPECT_THAT(disk.calls, ElementsAre("open", "write", "sync", "close", "rename"));
  EXPECT_GT(textOf("a1.png").size(), 4U);
  disk.calls.clear();
  sink->write(image_.image());
  EXPECT_THAT(disk.calls, ElementsAre("open", "write", "close", "rename")) << "nothing to lose";
}

TEST_F(SinkTest, AFailedCallLeavesNoHalfWrittenFileAndNoHarm) {
  for (const char* call : {"open", "write", "sync", "close", "rename"}) {
    std::ofstream(file("a.fits")) << "mine";
    FaultyFileSystem disk;
    disk.failing = call;
    const auto sink = makeSink(file("a.fits").string(), 1, true, disk);
    EXPECT_THROW(sink->write(image_.image()), FileError) << call;
    EXPECT_EQ(textOf("a.fits"), "mine") << call;
    EXPECT_EQ(filesInFolder(), 1U) << call;
    EXPECT_TRUE(sink->files().empty()) << call;
  }
  // A file system that cannot rename without replacing.
  FaultyFileSystem disk;
  disk.failing = "rename to new";
  disk.error = EINVAL;
  makeSink(file("b.png").string(), 1, false, disk)->write(image_.image());
  EXPECT_EQ(filesInFolder(), 2U);
  // Another program creates the file after the first check.
  disk.beforeRename = [&] { std::ofstream(file("c.png")) << "mine"; };
  for (const int error : {EINVAL, 0}) {
    disk.error = error;
    std::filesystem::remove(file("c.png"));
    const auto late = makeSink(file("c.png").string(), 1, false, disk);
    EXPECT_THROW(late->write(image_.image()), FileError);
    EXPECT_EQ(textOf("c.png"), "mine");
  }
}

TEST_F(SinkTest, ADiskThatIsFullAmidAFileKeepsTheFilesBefore) {
  const TestImage large(977, 613, Orvik_IMG_RAW16);
  for (const char* name : {"a%d.fits", "a%d.png"}) {
    FaultyFileSystem disk;
    const auto sink = makeSink(file(name).string(), 2, false, disk);
    sink->write(large.image());
    disk.room = std::filesystem::file_size(sink->files().front()) / 2;
    EXPECT_THROW(sink->write(large.image()), FileError);
    EXPECT_EQ(sink->files().size(), 1U);
  }
  EXPECT_EQ(filesInFolder(), 2U);
}

TEST(ImageInfo, TakesNoTemperatureThatIsTooOld) {
  ImageInfo image;
  const Orvik_CAMERA_INFO camera{};
  FrameInfo frame;
  frame.temperature = -95;
  describe(image, camera, frame);
  EXPECT_EQ(image.sensorTemperature, -9.5);
  frame.temperature = ORVIK_NO_TEMPERATURE;
  describe(image, camera, frame);
  EXPECT_FALSE(image.sensorTemperature);
}

}  // namespace
}  // namespace orvik::imaging
