// SPDX-License-Identifier: MIT
// The self-test detects a library that does not keep to its interface, and cameras that do not
// work. The test of the program shows that it passes if nothing is wrong.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "faulty_library.h"
#include "seam/install.h"
#include "sim/sim_host.h"
#include "support/fault_script.h"
#include "tools/orvikctl/scratch_folder.h"
#include "tools/orvikctl/selftest/runner.h"

namespace orvik::test {
namespace {

using ctl::selftest::Check;
using ctl::selftest::CheckResult;
using ctl::selftest::Conditions;
using ctl::selftest::Subject;
using ctl::selftest::Verdict;
using ::testing::HasSubstr;

std::vector<Check> named(const std::string& name) {
  std::vector<Check> checks = ctl::selftest::allChecks();
  std::erase_if(checks, [&](const Check& check) { return check.name != name; });
  EXPECT_EQ(checks.size(), 1U) << name;
  return checks;
}

class SelftestBench {
 public:
  SelftestBench() {
    conditions_.quick = true;
    conditions_.timeoutMs = 3000;
    conditions_.scratch = scratch_.path();
  }
  ~SelftestBench() {
    libraryFault = LibraryFault::kNone;
    host_->unplugAll();
    orvik_private_install_host(nullptr);
  }
  SelftestBench(const SelftestBench&) = delete;
  SelftestBench& operator=(const SelftestBench&) = delete;

  int plug(const sim::CameraOptions& options = {}) {
    orvik_private_install_host(faults_);
    const int id = host_->plug(*sim::findModel("T15C"), options);
    count_ = OrvikGetNumOfConnectedCameras();
    return id;
  }
  fault::FaultHost& faults() { return *faults_; }
  sim::SimHost& host() { return *host_; }
  void setTimeout(int milliseconds) { conditions_.timeoutMs = milliseconds; }

  std::vector<CheckResult> tryAll(const std::vector<Check>& checks) {
    const std::optional<int> second = count_ > 1 ? std::optional<int>(1) : std::nullopt;
    Subject subject(0, second, conditions_);
    return runChecks(subject, checks, [](const CheckResult&) {});
  }
  CheckResult tryOne(const std::string& name) { return tryAll(named(name)).at(0); }

 private:
  std::shared_ptr<sim::SimHost> host_ = std::make_shared<sim::SimHost>();
  std::shared_ptr<fault::FaultHost> faults_ = std::make_shared<fault::FaultHost>(host_);
  ctl::ScratchFolder scratch_;
  Conditions conditions_;
  int count_ = 0;
};

struct FaultCase {
  LibraryFault fault;
  const char* check;   ///< the one that is to notice
  const char* detail;  ///< what it is to say
};

class SelftestFaultTest : public ::testing::TestWithParam<FaultCase> {};

TEST_P(SelftestFaultTest, IsNoticed) {
  SelftestBench bench;
  bench.plug();
  bench.plug();
  const CheckResult healthy = bench.tryOne(GetParam().check);
  EXPECT_NE(healthy.verdict, Verdict::kFail) << healthy.detail;
  libraryFault = GetParam().fault;
  const CheckResult result = bench.tryOne(GetParam().check);
  EXPECT_EQ(result.verdict, Verdict::kFail);
  EXPECT_THAT(result.detail, HasSubstr(GetParam().detail));
}

constexpr FaultCase kFaults[] = {
    {LibraryFault::kNameWithoutEnd, "lifecycle.description", "a name with an end"},
    {LibraryFault::kTypesOutOfOrder, "lifecycle.description", "image types in the order"},
    {LibraryFault::kCountsClosedAsOpen, "lifecycle.closed", "OrvikGetROIFormat"},
    {LibraryFault::kForgetsNulls, "arguments.null", "OrvikGetExpStatus with a null pointer"},
    {LibraryFault::kTakesAnyFormat, "arguments.format", "expected ROI_SIZE (8), came OK (0)"},
    {LibraryFault::kForgetsBufferSize, "arguments.buffer", "expected BUFFER_SMALL (13)"},
    {LibraryFault::kGoesBeyondLimits, "controls.limits", "expected 600, came 601"},
    {LibraryFault::kStaysAutomatic, "controls.automatic", "Exposure off automatic"},
    {LibraryFault::kBinsWrong, "format.types", "expected 128x96 bin 2"},
    {LibraryFault::kStartsElsewhere, "format.edges", "column after 0, 0"},
    {LibraryFault::kStartsElsewhere, "format.centred", "column of a centred region"},
    {LibraryFault::kWritesBehindFrame, "format.types", "behind the frame"},
    {LibraryFault::kLeavesLastRow, "format.full", "left row 975"},
    {LibraryFault::kSwapsBytes, "picture.depth", "mean of 16-bit samples"},
    {LibraryFault::kWaitsTooLong, "video.time-out", "milliseconds of a wait"},
    {LibraryFault::kLosesSilently, "video.lost", "a count that stays at 0"},
    {LibraryFault::kMixesModes, "snapshot.exclusive", "starting video during a snapshot"},
    {LibraryFault::kCannotAbort, "snapshot.abort", "status after an abort"},
    {LibraryFault::kGuideFails, "extras.guide", "guide line 3"},
    {LibraryFault::kDarkStaysOff, "extras.dark", "a dark in use"},
    {LibraryFault::kMarkChanges, "extras.mark", "the same mark twice"},
    {LibraryFault::kControlsShared, "pair.controls", "gamma of the other camera"},
};

INSTANTIATE_TEST_SUITE_P(Library, SelftestFaultTest, ::testing::ValuesIn(kFaults));

TEST(SelftestCameraTest, ThatSendsNothing) {
  SelftestBench bench;
  bench.setTimeout(500);
  sim::CameraOptions options;
  options.frameFilter = [](std::vector<std::uint8_t>&) { return false; };
  bench.plug(options);
  for (const char* check : {"video.rate", "video.lost", "snapshot.takes", "format.types"}) {
    EXPECT_EQ(bench.tryOne(check).verdict, Verdict::kFail) << check;
  }
  EXPECT_EQ(bench.tryOne("controls.limits").verdict, Verdict::kPass);
  EXPECT_EQ(bench.tryOne("arguments.index").verdict, Verdict::kPass);
}

TEST(SelftestCameraTest, ThatDoesNotKeepTime) {
  SelftestBench bench;
  sim::CameraOptions options;
  options.pace = sim::Pace::kFree;
  bench.plug(options);
  EXPECT_EQ(bench.tryOne("video.pace").verdict, Verdict::kFail);
  EXPECT_THAT(bench.tryOne("snapshot.exposure").detail, HasSubstr("expected an exposure"));
}

TEST(SelftestCameraTest, ThatRefusesRequests) {
  SelftestBench bench;
  bench.plug();
  bench.faults().setScript(scriptOf("control fail"));
  EXPECT_EQ(bench.tryOne("controls.limits").verdict, Verdict::kFail);
}

TEST(SelftestCameraTest, ThatIsNotThereAnyMore) {
  SelftestBench bench;
  const int id = bench.plug();
  std::vector<Check> checks = named("controls.records");
  static int unplugged;
  static sim::SimHost* host;
  unplugged = id;
  host = &bench.host();
  checks.push_back({"test.unplug", "it is pulled out", [](Subject& subject) {
                      OrvikCloseCamera(subject.index());
                      host->unplug(unplugged);
                      return std::string();
                    }});
  checks.push_back(named("video.rate").at(0));
  checks.push_back(named("extras.guide").at(0));
  const std::vector<CheckResult> results = bench.tryAll(checks);
  ASSERT_EQ(results.size(), 4U);
  EXPECT_EQ(results[0].verdict, Verdict::kPass);
  EXPECT_EQ(results[2].verdict, Verdict::kFail);
  EXPECT_THAT(results[2].detail, HasSubstr("opening the camera"));
  EXPECT_EQ(results[3].verdict, Verdict::kSkip) << "the camera cannot be tested any more";
}

}  // namespace
}  // namespace orvik::test
