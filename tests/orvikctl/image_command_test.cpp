// SPDX-License-Identifier: MIT
#include "tools/orvikctl/sequence/image_command.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "tools/orvikctl/scratch_folder.h"

namespace orvik::ctl {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

class ImageCommandTest : public ::testing::Test {
 protected:
  [[nodiscard]] std::string file(const char* name) const {
    return (folder_.path() / name).string();
  }
  static std::string contents(const std::string& name) {
    std::ifstream stream(name);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  std::string run(const std::string& text, Microseconds limit = 20s,
                  const std::stop_token& stop = {}) {
    return runImageCommand({.text = text, .limit = limit}, file("a 'b\" $x.fits"), stop);
  }

  ScratchFolder folder_;
};

TEST_F(ImageCommandTest, GetsTheNameWhateverIsInIt) {
  const std::string seen = file("seen");
  EXPECT_EQ(run("printf %s {file} > " + seen), "");
  EXPECT_EQ(contents(seen), file("a 'b\" $x.fits"));
  EXPECT_EQ(run("f() { printf %s \"$2\" > " + seen + "; }; f one"), "");
  EXPECT_EQ(contents(seen), file("a 'b\" $x.fits")) << "appended";
}

TEST_F(ImageCommandTest, TellsAFailure) {
  EXPECT_EQ(run("exit 3 #"), "exit code 3");
  EXPECT_EQ(run("kill -9 $$ #"), "it was killed by signal 9");
  EXPECT_EQ(run("/no/such/program"), "exit code 127");
}

TEST_F(ImageCommandTest, EndsAllThatItStartedAtTheLimitOrAStop) {
  const std::string late = file("late");
  const std::string slow = "(trap '' TERM; sleep 3; touch " + late + ") & sleep 60 #";
  const auto begun = Clock::now();
  EXPECT_NE(run(slow, 200ms), "");
  std::stop_source source;
  std::jthread stopper([&] {
    std::this_thread::sleep_for(200ms);
    source.request_stop();
  });
  EXPECT_NE(run("sleep 60 #", 50s, source.get_token()), "");
  EXPECT_LT(Clock::now() - begun, 20s);
  while (Clock::now() - begun < 4s) std::this_thread::sleep_for(50ms);
  EXPECT_FALSE(std::filesystem::exists(late));
}

}  // namespace
}  // namespace orvik::ctl
