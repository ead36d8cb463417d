// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include <cmath>
#include <random>

#include "imaging/errors.h"
#include "tools/orvikctl/failure.h"
#include "tools/orvikctl/sequence/dither.h"
#include "tools/orvikctl/sequence/file_names.h"
#include "tools/orvikctl/sequence/plan_reader.h"

namespace orvik::ctl {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using ::testing::StartsWith;

constexpr const char* kWholePlan = R"(
object = "M 42"
folder = "night/{object}"
name = "{kind}_{filter}_{exposure}_b{bin}_{temperature}_%02d.fits"
repeat = 2
interval = "2min"
cool = { to = -10, ramp = 2.5, settle = "90s", keep_cold = true }
dither = { pixels = 4, pixels_per_second = 8, every = 3, settle = "7s" }
command = "solve {file}"
command_timeout = "5s"
command_must_succeed = true
[[step]]
exposure = "300s"
count = 2
filter = "Ha/7nm"
gain = 120
bin = 2
pause = "Ha in"
[[step]]
kind = "flat"
target_adu = 20000
max_exposure = "3s"
roi = "640x480+8+16"
)";

TEST(PlanReader, ReadsAllKeys) {
  const SequencePlan plan = parsePlan(kWholePlan, "a.toml");
  EXPECT_EQ(plan.repeat, 2);
  EXPECT_EQ(plan.interval, 2min);
  EXPECT_EQ(plan.cooling.target, -10);
  EXPECT_EQ(plan.cooling.ramp, 2.5);
  EXPECT_EQ(coolingPlanOf(plan.cooling)->settle, 90);
  EXPECT_TRUE(plan.cooling.keepCold);
  EXPECT_EQ(plan.dither->pulse, 500ms);
  EXPECT_EQ(plan.dither->every, 3);
  EXPECT_EQ(plan.command->limit, 5s);
  EXPECT_TRUE(plan.command->mustSucceed);
  ASSERT_EQ(plan.steps.size(), 2U);
  EXPECT_EQ(plan.steps[0].kind, "light");
  EXPECT_EQ(plan.steps[0].exposure, 300s);
  EXPECT_EQ(plan.steps[0].gain, 120);
  EXPECT_EQ(plan.steps[0].pause, "Ha in");
  EXPECT_NEAR(plan.steps[1].flat->level, 20000 / 65535.0, 1e-9);
  EXPECT_EQ(plan.steps[1].flat->longest, 3s);
  EXPECT_FALSE(plan.steps[1].exposure);
}

TEST(PlanReader, NamesFileLineAndKeyOfWhatIsWrong) {
  const std::string step = "\n[[step]]\nexposure = '1s'\n";
  const std::pair<std::string, const char*> wrong[] = {
      {"", "a.toml:1: a plan needs at least one [[step]]"},
      {"object = 'M\nx" + step, "a.toml:1: "},
      {"object = 'M 42'\nobjekt = 1" + step, "a.toml:2: objekt is no key"},
      {"\n\nrepeat = '2'" + step, "a.toml:3: repeat wants a whole number"},
      {"repeat = 0" + step, "a.toml:1: repeat wants"},
      {"step = 3", "a.toml:1: step wants [[step]]"},
      {"cool = -10" + step, "a.toml:1: cool wants a table"},
      {"cool = { ramp = 3 }" + step, "a.toml:1: to is missing"},
      {"cool = { to = -10, ramp = nan }" + step, "a.toml:1: ramp wants a number from 0.1 to 60"},
      {"dither = { every = 2 }" + step, "a.toml:1: give either pulse, or pixels"},
      {"dither = { pulse = '1s', pixels = 3 }" + step, "a.toml:1: give either"},
      {"dither = { pulse = '1h' }" + step, "a.toml:1: pulses may last"},
      {"command_timeout = '1s'" + step, "a.toml:1: command_timeout and"},
      {"interval = 5" + step, "a.toml:1: interval wants a time with its unit"},
      {step + "exposur = '1s'", "a.toml:4: exposur is no key"},
      {step + "count = 9999999", "a.toml:4: count wants"},
      {step + "kind = 'lights'", "a.toml:4: kind wants one of light, dark, bias, flat"},
      {step + "target_adu = '50%'", "a.toml:2: a step needs either exposure or target_adu"},
      {step + "max_exposure = '3s'", "a.toml:2: max_exposure belongs to target_adu"},
      {step + "roi = 'big'", "a.toml:2: roi: write"},
      {step + "pause = \"a\\nb\"", "a.toml:4: pause wants a text of one line"},
      {step + "[[step]]\ntarget_adu = 100", "a.toml:5: target_adu wants"},
  };
  for (const auto& [text, message] : wrong) {
    try {
      parsePlan(text, "a.toml");
      ADD_FAILURE() << text;
    } catch (const Failure& failure) {
      EXPECT_EQ(failure.code(), ExitCode::kUsage);
      EXPECT_THAT(failure.what(), StartsWith(message)) << text;
    }
  }
}

TEST(PlanReader, SurvivesDamagedPlans) {
  std::mt19937 random(1);
  for (int n = 0; n < 3000; ++n) {
    std::string text = kWholePlan;
    for (int change = 0; change < 4; ++change) {
      const std::size_t place = random() % text.size();
      if (random() % 2 == 0) text[place] = static_cast<char>(random());
      if (random() % 2 == 0) text.erase(place, random() % 20);
    }
    try {
      plannedImages(parsePlan(text, "a.toml"));
    } catch (const Failure& failure) {
      EXPECT_THAT(failure.what(), StartsWith("a.toml:"));
    } catch (const imaging::NameError&) {
      // of the files
    }
  }
}

TEST(PlanReader, ReadsStepsOfTheCommandLine) {
  const StepPlan light = parseStep("light:20x2.5s:Ha");
  EXPECT_EQ(light.count, 20);
  EXPECT_EQ(light.exposure, 2500ms);
  EXPECT_EQ(light.filter, "Ha");
  EXPECT_EQ(parseStep("flat:15x50%").flat->level, 0.5);
  for (const char* bad : {"", "light", "light:20", "light:20:300s", "light:x1s", "light:0x1s",
                          "lamp:1x1s", "light:1x1", "light:1x0s", "light:1x99%", "flat:1x30000"}) {
    EXPECT_THROW(parseStep(bad), Failure) << bad;
  }
}

TEST(PlannedImages, AreNamedAfterTheirSteps) {
  const SequencePlan plan = parsePlan(kWholePlan, "a.toml");
  std::vector<std::string> names;
  for (const PlannedImage& image : plannedImages(plan)) names.push_back(image.file.string());
  EXPECT_EQ(names, (std::vector<std::string>{
                       "night/M_42/light_Ha_7nm_300s_b2_-10_01.fits",
                       "night/M_42/light_Ha_7nm_300s_b2_-10_02.fits",
                       "night/M_42/flat_b_-10_01.fits",
                       "night/M_42/light_Ha_7nm_300s_b2_-10_03.fits",
                       "night/M_42/light_Ha_7nm_300s_b2_-10_04.fits",
                       "night/M_42/flat_b_-10_02.fits",
                   }))
      << "numbers go on in the second round";
}

TEST(PlannedImages, RefusesNamesThatDoNotDo) {
  SequencePlan plan = parsePlan(kWholePlan, "a.toml");
  for (const char* bad :
       {"a.fits", "a_{kind}.fits", "a%d.ser", "a%d", "a%s.fits", "a{no}%d.fits", "a{kind%d.fits"}) {
    plan.name = bad;
    EXPECT_THROW(plannedImages(plan), imaging::NameError) << bad;
  }
  plan.name = "{object}_%d.fits";
  for (const auto& [object, file] :
       {std::pair("../../etc/x", "_.._etc_x_1.fits"), {"50%d", "50%d_1.fits"}, {"..", "_1.fits"}}) {
    plan.object = object;
    EXPECT_EQ(plannedImages(plan).front().file, file);
  }
  plan.steps[0].count = kMostImages;
  EXPECT_THROW(plannedImages(plan), Failure);
}

TEST(Dither, StaysInItsCircle) {
  Dither dither(500ms, 7);
  std::array<double, 2> place{};
  double farthest = 0;
  double way = 0;
  for (int n = 0; n < 300; ++n) {
    for (const Dither::Pulse& pulse : dither.next()) {
      const bool isBack = pulse.line % 2 != 0;
      ASSERT_GE(pulse.length, 0ms);
      place.at(static_cast<std::size_t>(pulse.line / 2)) +=
          static_cast<double>(isBack ? -pulse.length.count() : pulse.length.count());
      way += static_cast<double>(pulse.length.count());
    }
    farthest = std::max(farthest, std::hypot(place[0], place[1]));
  }
  EXPECT_LE(farthest, 501);
  EXPECT_GT(farthest, 400) << "and uses all of it";
  EXPECT_GT(way / 300, 300) << "moves are no small ones";
}

}  // namespace
}  // namespace orvik::ctl
