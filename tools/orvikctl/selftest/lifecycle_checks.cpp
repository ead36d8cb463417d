// SPDX-License-Identifier: MIT
// What a camera reports of itself, and opening and closing it.
#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>
#include <string_view>

#include "imaging/image_types.h"
#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/every_call.h"
#include "tools/orvikctl/selftest/expect.h"
#include "tools/orvikctl/selftest/figures.h"

namespace orvik::ctl::selftest {
namespace {

constexpr int kMostBin = 16;

void expectBins(const Orvik_CAMERA_INFO& info) {
  const std::vector<int> bins = binsOf(info);
  expectThat(!bins.empty() && bins.front() == 1, "a list of bins that begins with 1",
             bins.empty() ? "none" : std::to_string(bins.front()));
  expectThat(std::is_sorted(bins.begin(), bins.end()) && bins.back() <= kMostBin,
             "bins in rising order up to 16", "others");
}

void expectTypes(const Orvik_CAMERA_INFO& info) {
  const auto* const end =
      std::find(std::begin(info.imageTypes), std::end(info.imageTypes), Orvik_IMG_END);
  expectThat(end != std::end(info.imageTypes), "a list of image types with an end", "none");
  constexpr std::array kOrder = {Orvik_IMG_RAW8, Orvik_IMG_RGB24, Orvik_IMG_Y8, Orvik_IMG_RAW16};
  const auto* known = kOrder.begin();
  bool hasColourImages = false;
  for (const IMG_TYPE type : imageTypesOf(info)) {
    known = std::find(known, kOrder.end(), type);
    expectThat(known != kOrder.end(), "image types in the order raw8, rgb24, y8, raw16",
               std::string(imaging::imageType(type).name) + " elsewhere");
    hasColourImages = hasColourImages || type == Orvik_IMG_RGB24;
  }
  expectEqual(info.colour, hasColourImages ? 1 : 0, "rgb24 offered, as against `colour`");
}

std::string description(Subject& subject) {
  OrvikCloseCamera(subject.index());
  const Orvik_CAMERA_INFO info = subject.info();
  const bool hasEnd = std::memchr(info.name, 0, sizeof info.name) != nullptr;
  expectThat(hasEnd && info.name[0] != 0, "a name with an end", "none");
  expectEqual(subject.index(), info.cameraIndex, "cameraIndex");
  expectThat(info.maxWidth > 0 && info.maxHeight > 0, "the sensor's size", "none");
  expectWithin(0.5, 50, info.pixelSizeUm, "pixelSizeUm");
  expectEqual(0, info.hasShutter, "hasShutter");
  expectEqual(1, info.hasST4, "hasST4");
  expectBins(info);
  expectTypes(info);
  return std::to_string(info.maxWidth) + "x" + std::to_string(info.maxHeight) + ", USB " +
         (info.usb3Camera == Orvik_TRUE ? "3" : "2");
}

std::string sameWhenOpen(Subject& subject) {
  Orvik_CAMERA_INFO open = subject.info();
  OrvikCloseCamera(subject.index());
  const Orvik_CAMERA_INFO closed = subject.info();
  const bool onUsb3 = open.usb3Host == Orvik_TRUE;
  expectEqual(0, closed.usb3Host, "usb3Host of a closed camera");
  open.usb3Host = closed.usb3Host;
  // Some models find out when they are opened which variant they are, and then change their name.
  const bool sameName = std::string_view(open.name).starts_with(closed.name);
  expectThat(sameName && open.maxWidth == closed.maxWidth && open.maxHeight == closed.maxHeight &&
                 open.colour == closed.colour && open.bayer == closed.bayer &&
                 binsOf(open) == binsOf(closed) && imageTypesOf(open) == imageTypesOf(closed) &&
                 open.hasCooler == closed.hasCooler,
             "the same description of the camera open and closed", "another");
  return onUsb3 ? "on a USB 3 port" : "on a USB 2 port";
}

std::string opensAgain(Subject& subject) {
  expectOk(OrvikOpenCamera(subject.index()), "opening an open camera");
  constexpr int kTimes = 5;
  const StopWatch watch;
  for (int time = 0; time < kTimes; ++time) {
    expectOk(OrvikCloseCamera(subject.index()), "OrvikCloseCamera");
    expectOk(OrvikOpenCamera(subject.index()), "OrvikOpenCamera");
  }
  const double each = watch.milliseconds() / kTimes;
  subject.setFormat(Subject::small());
  static_cast<void>(subject.takeFrame());
  return figure(each, "ms") + " each";
}

std::string closedAnswers(Subject& subject) {
  expectOk(OrvikCloseCamera(subject.index()), "OrvikCloseCamera");
  for (const Call& call : everyCall()) {
    expectCode(call.onClosedCamera, call.make(subject.index()),
               std::string(call.name) + " on a closed camera");
  }
  expectOk(OrvikCloseCamera(subject.index()), "closing a closed camera");
  return std::to_string(everyCall().size()) + " functions";
}

std::string closesInMidVideo(Subject& subject) {
  FrameBuffer frame(subject.format());
  subject.startVideo();
  subject.readFrame(frame);
  const StopWatch watch;
  expectOk(OrvikCloseCamera(subject.index()), "closing during video");
  const double took = watch.milliseconds();
  expectWithin(0, subject.conditions().timeoutMs, took, "milliseconds to close during video");
  subject.settle();
  static_cast<void>(subject.takeFrame());
  return figure(took, "ms");
}

constexpr std::array kChecks = {
    Check{"lifecycle.description", "what it says of itself is complete and consistent",
          description},
    Check{"lifecycle.same", "it is described alike open and closed", sameWhenOpen},
    Check{"lifecycle.reopen", "it closes and opens again, and still sends images", opensAgain},
    Check{"lifecycle.closed", "every function knows a closed camera", closedAnswers},
    Check{"lifecycle.mid-video", "it closes in the middle of a video, and comes back",
          closesInMidVideo},
};

}  // namespace

std::span<const Check> lifecycleChecks() { return kChecks; }

}  // namespace orvik::ctl::selftest
