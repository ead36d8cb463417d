// SPDX-License-Identifier: MIT
// Two cameras at once.
#include <array>
#include <cstdint>

#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/expect.h"

namespace orvik::ctl::selftest {
namespace {

/// The camera beside the one under test, for the length of one check.
Subject partnerOf(const Subject& subject) {
  if (!subject.second()) throw CheckSkipped("there is no second camera");
  return {*subject.second(), std::nullopt, subject.conditions()};
}

std::string bothStream(Subject& subject) {
  Subject partner = partnerOf(subject);
  partner.settle();
  const ImageFormat other = {.width = 160, .height = 112};
  partner.setFormat(other);
  expectEqual(subject.format().width, Subject::small().width, "width beside a second camera");
  FrameBuffer mine(subject.format());
  FrameBuffer theirs(other);
  subject.startVideo();
  partner.startVideo();
  constexpr int kFrames = 5;
  for (int n = 0; n < kFrames; ++n) {
    subject.readFrame(mine);
    partner.readFrame(theirs);
  }
  partner.stopVideo();
  subject.readFrame(mine);
  expectOk(OrvikCloseCamera(partner.index()), "closing the second camera");
  subject.readFrame(mine);
  return "beside " + std::string(partner.info().name);
}

std::string controlsApart(Subject& subject) {
  Subject partner = partnerOf(subject);
  partner.settle();
  const std::int32_t before = partner.value(Orvik_CTL_GAMMA).value;
  const std::int32_t changed = before == 70 ? 71 : 70;
  subject.set(Orvik_CTL_GAMMA, changed);
  expectEqual(before, partner.value(Orvik_CTL_GAMMA).value, "gamma of the other camera");
  expectEqual(changed, subject.value(Orvik_CTL_GAMMA).value, "gamma of this camera");
  return "";
}

constexpr std::array kChecks = {
    Check{"pair.video", "two cameras stream at once, and end one by one", bothStream},
    Check{"pair.controls", "two cameras keep their controls apart", controlsApart},
};

}  // namespace

std::span<const Check> pairChecks() { return kChecks; }

}  // namespace orvik::ctl::selftest
