// SPDX-License-Identifier: MIT
// Names, series and replacement of files, whatever their format.
#include <sys/resource.h>

#include <csignal>
#include <memory>
#include <random>

#include "tests/orvikctl/test_image.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/output/frame_sink.h"
#include "tools/orvikctl/output/name_pattern.h"

namespace orvik::ctl {
namespace {

/// The exit code with which `action` fails; kOk if it does not.
template <typename Action>
ExitCode codeOf(Action action) {
  try {
    action();
  } catch (const Failure& failure) {
    return failure.code();
  }
  return ExitCode::kOk;
}

TEST(NamePattern, PutsTheNumberIn) {
  EXPECT_EQ(NamePattern("a-%04d.png").name(7), "a-0007.png");
  EXPECT_EQ(NamePattern("%d.fits").name(12), "12.fits");
  EXPECT_EQ(NamePattern("%02d.fits").name(1234), "1234.fits");
  EXPECT_EQ(NamePattern("50%%-%d.png").name(3), "50%-3.png");
  EXPECT_FALSE(NamePattern("50%%.png").isNumbered());
  for (const char* bad :
       {"%s.png", "%n.png", "%", "%4", "%d%d.png", "%-4d.png", "%9999999999d.p"}) {
    EXPECT_EQ(codeOf([&] { NamePattern pattern(bad); }), ExitCode::kUsage) << bad;
  }
}

class SinkTest : public FileTest {
 protected:
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
  EXPECT_EQ(codeOf([&] { makeSink(file("a.jpg").string(), 1, false); }), ExitCode::kUsage);
  EXPECT_EQ(codeOf([&] { makeSink(file("none").string(), 1, false); }), ExitCode::kUsage);
  EXPECT_EQ(codeOf([&] { makeSink(file("no/a.png").string(), 1, false); }), ExitCode::kFileFailed);
}

TEST_F(SinkTest, ASeriesNeedsANumber) {
  EXPECT_EQ(codeOf([&] { makeSink(file("a.png").string(), 2, false); }), ExitCode::kUsage);
  EXPECT_EQ(codeOf([&] { makeSink(file("a.png").string(), {}, false); }), ExitCode::kUsage);
  const auto sink = makeSink(file("a%02d.png").string(), {}, false);
  for (int i = 0; i < 3; ++i) sink->write(image_.image());
  sink->finish();
  EXPECT_EQ(sink->files(), (std::vector<std::filesystem::path>{file("a01.png"), file("a02.png"),
                                                               file("a03.png")}));
  EXPECT_EQ(filesInFolder(), 3u);
}

TEST_F(SinkTest, ExistingFilesAreReplacedOnlyOnDemand) {
  std::ofstream(file("a2.png")) << "mine";
  // The second of three stands in the way: not even the first is written.
  EXPECT_EQ(codeOf([&] { makeSink(file("a%d.png").string(), 3, false); }), ExitCode::kFileFailed);
  // With an open end it shows late; it stays as it was.
  const auto sink = makeSink(file("a%d.png").string(), {}, false);
  sink->write(image_.image());
  EXPECT_EQ(codeOf([&] { sink->write(image_.image()); }), ExitCode::kFileFailed);
  EXPECT_EQ(std::filesystem::file_size(file("a2.png")), 4u);
  EXPECT_EQ(filesInFolder(), 2u);
  const auto replacing = makeSink(file("a%d.png").string(), 2, true);
  replacing->write(image_.image());
  replacing->write(image_.image());
  EXPECT_GT(std::filesystem::file_size(file("a2.png")), 4u);
  EXPECT_EQ(filesInFolder(), 2u);
}

TEST_F(SinkTest, AFullDiskLeavesNoHalfWrittenFileAndNoHarm) {
  TestImage large(512, 512, Orvik_IMG_RAW16);
  std::mt19937 noise;  // does not compress
  for (std::uint8_t& byte : large.bytes) byte = static_cast<std::uint8_t>(noise());
  std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit small{20'000, before.rlim_max};
  for (const char* name : {"a.png", "a.fits", "a.ser"}) {
    std::ofstream(file(name)) << "mine";
    setrlimit(RLIMIT_FSIZE, &small);
    const ExitCode code = codeOf([&] {
      const auto sink = makeSink(file(name).string(), 1, true);
      sink->write(large.image());
      sink->finish();
    });
    setrlimit(RLIMIT_FSIZE, &before);
    EXPECT_EQ(code, ExitCode::kFileFailed) << name;
  }
  EXPECT_EQ(std::filesystem::file_size(file("a.png")), 4u);
  EXPECT_EQ(std::filesystem::file_size(file("a.fits")), 4u);
  EXPECT_EQ(filesInFolder(), 2u);  // A video is written in place and takes the older one with it.
}

}  // namespace
}  // namespace orvik::ctl
