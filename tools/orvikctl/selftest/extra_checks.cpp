// SPDX-License-Identifier: MIT
// Guide port, dark subtraction, the mark in the flash.
#include <algorithm>
#include <array>
#include <filesystem>
#include <iterator>
#include <limits>

#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/dark_file.h"
#include "tools/orvikctl/selftest/expect.h"
#include "tools/orvikctl/selftest/figures.h"

namespace orvik::ctl::selftest {
namespace {

constexpr int kGuideLines = 4;

void guide(const Subject& subject, int line, bool on) {
  const auto direction = static_cast<GuideD>(line);
  const std::string what = "guide line " + std::to_string(line) + (on ? " on" : " off");
  expectOk(on ? OrvikPulseGuideOn(subject.index(), direction)
              : OrvikPulseGuideOff(subject.index(), direction),
           what);
}

std::string guideLines(Subject& subject) {
  const StopWatch watch;
  for (int line = 0; line < kGuideLines; ++line) {
    guide(subject, line, true);
    guide(subject, line, false);
  }
  const double each = watch.milliseconds() / kGuideLines;
  for (const int line : {kGuideLines, -1, std::numeric_limits<int>::max()}) {
    guide(subject, line, true);
    guide(subject, line, false);
  }
  return figure(each, "ms") + " for a shortest pulse";
}

std::string guideDuringVideo(Subject& subject) {
  FrameBuffer frame(subject.format());
  subject.startVideo();
  for (int line = 0; line < kGuideLines; ++line) {
    guide(subject, line, true);
    subject.readFrame(frame);
    guide(subject, line, false);
  }
  return "";
}

bool darkInUse(const Subject& subject) {
  Orvik_BOOL inUse = Orvik_FALSE;
  expectOk(OrvikEnableDarkSubtract(subject.index(), nullptr, &inUse), "asking for the dark");
  return inUse == Orvik_TRUE;
}

Orvik_ERROR_CODE loadDark(const Subject& subject, const std::filesystem::path& path) {
  std::string name = path.string();
  Orvik_BOOL load = Orvik_TRUE;
  return OrvikEnableDarkSubtract(subject.index(), name.data(), &load);
}

std::string darkSwitch(Subject& subject) {
  const Orvik_CAMERA_INFO info = subject.info();
  const auto dark = subject.conditions().scratch / "dark.bmp";
  const auto tooSmall = subject.conditions().scratch / "small.bmp";
  writeBlackDark(dark, info.maxWidth, info.maxHeight);
  writeBlackDark(tooSmall, info.maxWidth, info.maxHeight - 2);
  expectThat(!darkInUse(subject), "no dark in use at first", "one");
  expectCode(Orvik_ERROR_DARK_FILE_PATH,
             loadDark(subject, subject.conditions().scratch / "none.bmp"),
             "loading a dark that is not there");
  expectOk(loadDark(subject, dark), "loading a dark");
  expectThat(darkInUse(subject), "a dark in use after loading it", "none");
  expectCode(Orvik_ERROR_DARK_FILE_FORMAT, loadDark(subject, tooSmall),
             "loading a dark of another size");
  expectThat(darkInUse(subject), "the dark in use to stay when another is refused", "none");
  static_cast<void>(subject.takeFrame());
  expectOk(OrvikDisableDarkSubtract(subject.index()), "OrvikDisableDarkSubtract");
  expectThat(!darkInUse(subject), "no dark in use after switching it off", "one");
  return "";
}

std::string readsMark(Subject& subject) {
  Orvik_ID id{};
  Orvik_ID again{};
  if (OrvikGetID(subject.index(), &id) != Orvik_OK) throw CheckSkipped("the camera has no mark");
  expectOk(OrvikGetID(subject.index(), &again), "reading the mark again");
  expectThat(std::equal(std::begin(id.id), std::end(id.id), std::begin(again.id)),
             "the same mark twice", "another");
  return "";
}

constexpr std::array kChecks = {
    Check{"extras.guide", "guide lines go on and off; others are ignored", guideLines},
    Check{"extras.guide-video", "guiding goes on during video", guideDuringVideo},
    Check{"extras.dark", "dark subtraction is switched by a file that fits", darkSwitch},
    Check{"extras.mark", "the mark in the flash reads alike twice (nothing is written)", readsMark},
};

}  // namespace

std::span<const Check> extraChecks() { return kChecks; }

}  // namespace orvik::ctl::selftest
