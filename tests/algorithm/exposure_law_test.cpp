// SPDX-License-Identifier: MIT
#include "algorithm/exposure_law.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

namespace orvik {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The settings of a camera.
struct Settings {
  std::uint64_t exposure = 10000;
  std::uint32_t lines = 600;
  int gain = 200;
};

/// A camera that records its settings.
class Camera final : public ExposureDials {
 public:
  explicit Camera(const Settings& settings) : now_(settings) {}

  [[nodiscard]] int gain() const override { return now_.gain; }
  [[nodiscard]] std::uint64_t exposureUs() const override { return now_.exposure; }
  [[nodiscard]] std::uint32_t exposureLines() const override { return now_.lines; }
  void setGain(int gain) override {
    now_.gain = gain;
    done.push_back("gain " + std::to_string(gain));
  }
  void setExposure(std::uint64_t exposureUs) override {
    now_.exposure = exposureUs;
    if (linesFollow) now_.lines = static_cast<std::uint32_t>(exposureUs / 16);
    done.push_back("exposure " + std::to_string(exposureUs));
  }

  bool linesFollow = false;  ///< whether the exposure changes the number of lines
  std::vector<std::string> done;

 private:
  Settings now_;
};

constexpr bool kOn = true;
constexpr bool kOff = false;

ExposureGoal goal(bool exposureAuto, bool gainAuto) {
  return {.brightness = 100,
          .maxGain = 300,
          .maxExposureSeconds = 30,
          .gainRange = 600,
          .exposureAuto = exposureAuto,
          .gainAuto = gainAuto};
}

std::vector<std::string> step(int brightness, const ExposureGoal& goal,
                              const Settings& settings = {}) {
  Camera camera(settings);
  regulateExposure(brightness, goal, camera);
  return camera.done;
}

TEST(ExposureLaw, WithinFifteenPercentNothingChanges) {
  for (const bool exposureAuto : {kOn, kOff}) {
    for (const int brightness : {85, 100, 115}) {
      EXPECT_THAT(step(brightness, goal(exposureAuto, kOn)), IsEmpty()) << brightness;
    }
    EXPECT_THAT(step(84, goal(exposureAuto, kOn)), testing::Not(IsEmpty()));
    EXPECT_THAT(step(116, goal(exposureAuto, kOn)), testing::Not(IsEmpty()));
  }
  ExposureGoal odd = goal(kOff, kOn);
  odd.brightness = 59;  // 15 percent are 8.85, rounded down to 8
  EXPECT_THAT(step(67, odd), IsEmpty());
  EXPECT_THAT(step(68, odd), ElementsAre("gain 194"));
  EXPECT_THAT(step(51, odd), IsEmpty());
  EXPECT_THAT(step(50, odd), ElementsAre("gain 212"));
}

TEST(ExposureLaw, WithNothingOnAutomaticNothingChanges) {
  EXPECT_THAT(step(1, goal(kOff, kOff)), IsEmpty());
  EXPECT_THAT(step(255, goal(kOff, kOff)), IsEmpty());
}

TEST(ExposureLaw, GainAlone) {
  EXPECT_THAT(step(116, goal(kOff, kOn)), ElementsAre("gain 194"));
  EXPECT_THAT(step(255, goal(kOff, kOn), Settings{10000, 600, 3}), ElementsAre("gain -3"))
      << "how low it goes is the model's to say";
  EXPECT_THAT(step(84, goal(kOff, kOn)), ElementsAre("gain 212"));
  EXPECT_THAT(step(1, goal(kOff, kOn), Settings{10000, 600, 295}), ElementsAre("gain 300"));
  EXPECT_THAT(step(1, goal(kOff, kOn), Settings{10000, 600, 400}), ElementsAre("gain 300"));
}

TEST(ExposureLaw, AGainOfLessThanAHundredStepsGoesByOne) {
  ExposureGoal alone = goal(kOff, kOn);
  ExposureGoal both = goal(kOn, kOn);
  alone.gainRange = both.gainRange = 99;
  const Settings settings{10000, 600, 50};
  EXPECT_THAT(step(116, alone, settings), ElementsAre("gain 49"));
  EXPECT_THAT(step(84, alone, settings), ElementsAre("gain 51"));
  EXPECT_THAT(step(120, both, settings), ElementsAre("exposure 9500", "gain 49"));
  EXPECT_THAT(step(80, both, settings), ElementsAre("gain 51", "exposure 11000", "gain 52"));
}

TEST(ExposureLaw, ExposureAlone) {
  EXPECT_THAT(step(116, goal(kOn, kOff)), ElementsAre("exposure 9600"));
  EXPECT_THAT(step(255, goal(kOn, kOff)), ElementsAre("exposure 6125"));
  EXPECT_THAT(step(84, goal(kOn, kOff)), ElementsAre("exposure 10800"));
  EXPECT_THAT(step(50, goal(kOn, kOff), Settings{200'000, 9999}), ElementsAre("exposure 250000"));
  EXPECT_THAT(step(50, goal(kOn, kOff), Settings{29'000'000, 9999}),
              ElementsAre("exposure 30000000"));
  EXPECT_THAT(step(200, goal(kOn, kOff), Settings{200'000, 9999}), ElementsAre("exposure 150000"));
}

TEST(ExposureLaw, ALineOrTwoAreOnlyChangedForALargeError) {
  struct Case {
    std::uint32_t lines;
    int error;
    bool changes;
  };
  for (const Case& c : {Case{3, 16, true}, Case{2, 29, false}, Case{2, 30, true},
                        Case{1, 30, false}, Case{1, 44, false}, Case{1, 45, true}}) {
    const Settings settings{1000, c.lines};
    EXPECT_EQ(step(100 + c.error, goal(kOn, kOff), settings).size(), c.changes ? 1U : 0U)
        << c.lines << " lines, too bright by " << c.error;
    EXPECT_EQ(step(100 - c.error, goal(kOn, kOff), settings).size(), c.changes ? 1U : 0U)
        << c.lines << " lines, too dark by " << c.error;
  }
}

TEST(ExposureLaw, BothWhenTooBright) {
  EXPECT_THAT(step(120, goal(kOn, kOn)), ElementsAre("exposure 9500", "gain 194"));
  EXPECT_THAT(step(120, goal(kOn, kOn), Settings{100'001, 6000}), ElementsAre("exposure 95001"))
      << "a long exposure gives time back first";
  EXPECT_THAT(step(120, goal(kOn, kOn), Settings{100'000, 6000}),
              ElementsAre("exposure 95000", "gain 194"));
  EXPECT_THAT(step(120, goal(kOn, kOn), Settings{40, 2}), ElementsAre("gain 194", "gain 188"))
      << "with two lines left the gain goes down twice, the exposure waits for a larger error";
  EXPECT_THAT(step(120, goal(kOn, kOn), Settings{10000, 600, 4}),
              ElementsAre("exposure 9500", "gain 1"));
  EXPECT_THAT(step(120, goal(kOn, kOn), Settings{40, 2, 4}), ElementsAre("gain 1", "gain 1"));
}

TEST(ExposureLaw, TheSecondStepOfGainGoesByTheNewExposure) {
  Camera camera(Settings{48, 3});
  camera.linesFollow = true;
  regulateExposure(200, goal(kOn, kOn), camera);
  EXPECT_THAT(camera.done, ElementsAre("exposure 36", "gain 194", "gain 188"));
}

TEST(ExposureLaw, BothWhenTooDark) {
  EXPECT_THAT(step(80, goal(kOn, kOn)), ElementsAre("gain 206", "exposure 11000", "gain 212"));
  EXPECT_THAT(step(80, goal(kOn, kOn), Settings{40, 2}), ElementsAre("gain 206", "gain 212"));
  EXPECT_THAT(step(80, goal(kOn, kOn), Settings{10000, 600, 297}),
              ElementsAre("gain 300", "exposure 11000", "gain 300"));
  EXPECT_THAT(step(80, goal(kOn, kOn), Settings{100'001, 6000}),
              ElementsAre("gain 206", "gain 218"))
      << "a long exposure takes all the gain before more time";
  EXPECT_THAT(step(80, goal(kOn, kOn), Settings{100'001, 6000, 295}),
              ElementsAre("gain 300", "exposure 110001"));
}

TEST(ExposureLaw, AnyNumberIsHarmless) {
  // The values that a program can set are not checked. With the sanitizers this test shows that
  // none of them causes an overflow.
  const std::vector<int> numbers = {std::numeric_limits<int>::min(), -1, 0, 1, 2147, 2148,
                                    std::numeric_limits<int>::max()};
  for (const int brightness : numbers) {
    for (const int limit : numbers) {
      ExposureGoal strange = goal(kOn, kOn);
      strange.brightness = brightness;
      strange.maxGain = limit;
      strange.maxExposureSeconds = limit;
      strange.gainRange = std::numeric_limits<int>::max();
      for (const std::uint64_t exposure :
           {std::uint64_t{0}, std::uint64_t{32}, std::uint64_t{2'000'000'000},
            (std::uint64_t{1} << 63) - 1, std::numeric_limits<std::uint64_t>::max()}) {
        for (const int gain : numbers) {
          for (const bool exposureAuto : {kOn, kOff}) {
            strange.exposureAuto = exposureAuto;
            step(1, strange, Settings{exposure, 600, gain});
            step(255, strange, Settings{exposure, 600, gain});
          }
        }
      }
    }
  }
  ExposureGoal darkest = goal(kOn, kOff);
  darkest.brightness = std::numeric_limits<int>::min();
  EXPECT_THAT(step(100, darkest), ElementsAre("exposure 0")) << "and not a huge one";
}

}  // namespace
}  // namespace orvik
