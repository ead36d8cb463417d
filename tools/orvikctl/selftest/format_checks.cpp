// SPDX-License-Identifier: MIT
// Sizes, bins, image types, and where on the sensor a region lies.
#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>

#include "imaging/image_types.h"
#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/expect.h"
#include "tools/orvikctl/selftest/figures.h"

namespace orvik::ctl::selftest {
namespace {

std::string typesAndBins(Subject& subject) {
  const Orvik_CAMERA_INFO info = subject.info();
  int tried = 0;
  for (const IMG_TYPE type : imageTypesOf(info)) {
    for (const int bin : binsOf(info)) {
      const ImageFormat wanted = Subject::small(bin, type);
      subject.setFormat(wanted);
      const ImageFormat now = subject.format();
      expectThat(now.width == wanted.width && now.height == wanted.height && now.bin == bin &&
                     now.type == type,
                 formatText(wanted), formatText(now));
      static_cast<void>(subject.takeFrame());
      ++tried;
    }
  }
  return std::to_string(tried) + " formats";
}

std::string hostBins(Subject& subject) {
  static_cast<void>(subject.control(Orvik_CTL_HARDWARE_BIN));
  int tried = 0;
  for (const int bin : binsOf(subject.info())) {
    for (const std::int32_t inCamera : {1, 0}) {
      subject.setFormat(Subject::small(bin));
      subject.set(Orvik_CTL_HARDWARE_BIN, inCamera);
      expectEqual(bin, subject.format().bin, "bin after switching HardwareBin");
      static_cast<void>(subject.takeFrame());
      ++tried;
    }
  }
  return std::to_string(tried) + " ways";
}

std::string highSpeed(Subject& subject) {
  static_cast<void>(subject.control(Orvik_CTL_HIGH_SPEED_MODE));
  for (const std::int32_t fast : {1, 0}) {
    subject.set(Orvik_CTL_HIGH_SPEED_MODE, fast);
    static_cast<void>(subject.takeFrame());
  }
  return "";
}

std::string fullFrames(Subject& subject) {
  std::string sizes;
  for (const int bin : binsOf(subject.info())) {
    if (bin > 1 && subject.conditions().quick) continue;
    const ImageFormat full = subject.full(bin);
    subject.setFormat(full);
    const StopWatch watch;
    static_cast<void>(subject.takeFrame());
    sizes += (sizes.empty() ? "" : ", ") + std::to_string(full.width) + "x" +
             std::to_string(full.height) + " " + figure(watch.milliseconds(), "ms");
  }
  return sizes;
}

std::string fullOfAType(Subject& subject, IMG_TYPE type) {
  for (const IMG_TYPE offered : imageTypesOf(subject.info())) {
    if (offered != type) continue;
    subject.setFormat(subject.full(1, type));
    return std::to_string(subject.takeFrame().size()) + " bytes";
  }
  throw CheckSkipped("the camera does not offer " + std::string(imaging::imageType(type).name));
}

std::string fullColour(Subject& subject) { return fullOfAType(subject, Orvik_IMG_RGB24); }
std::string fullWide(Subject& subject) { return fullOfAType(subject, Orvik_IMG_RAW16); }

std::string centred(Subject& subject) {
  const Orvik_CAMERA_INFO info = subject.info();
  // The sensor takes even rows, and columns that are multiples of 4.
  constexpr int kGrainX = 4;
  constexpr int kGrainY = 2;
  for (const int bin : binsOf(info)) {
    const ImageFormat wanted = Subject::small(bin);
    subject.setFormat(wanted);
    const ImageFormat now = subject.format();
    const int x = (info.maxWidth - wanted.width * bin) / 2;
    const int y = (info.maxHeight - wanted.height * bin) / 2;
    expectWithin(x - kGrainX - bin, x, now.startX * bin, "column of a centred region");
    expectWithin(y - kGrainY - bin, y, now.startY * bin, "row of a centred region");
  }
  return "";
}

std::string edges(Subject& subject) {
  int tried = 0;
  for (const int bin : binsOf(subject.info())) {
    if (bin > 2 && subject.conditions().quick) continue;
    const ImageFormat full = subject.full(bin);
    const ImageFormat region = Subject::small(bin);
    subject.setFormat(region);
    // A bin factor can leave a few pixels of the sensor unused.
    const int slackX = subject.info().maxWidth / bin - full.width;
    const int slackY = subject.info().maxHeight / bin - full.height;
    const int right = full.width - region.width;
    const int bottom = full.height - region.height;
    for (const auto& [x, y] : {std::pair{0, 0},
                               {right, 0},
                               {0, bottom},
                               {right, bottom},
                               {1 << 20, 1 << 20},
                               {-8, -8}}) {
      const std::string where = std::to_string(x) + ", " + std::to_string(y);
      expectOk(OrvikSetStartPos(subject.index(), x, y), "moving the region to " + where);
      const ImageFormat now = subject.format();
      const int wantedX = std::clamp(x, 0, right);
      const int wantedY = std::clamp(y, 0, bottom);
      // A column counts in steps of 4 sensor pixels, a row in steps of 2.
      expectWithin(wantedX - 4, wantedX + slackX, now.startX, "column after " + where);
      expectWithin(wantedY - 2, wantedY + slackY, now.startY, "row after " + where);
      static_cast<void>(subject.takeFrame());
      ++tried;
    }
  }
  return std::to_string(tried) + " positions";
}

constexpr std::array kChecks = {
    Check{"format.types", "it sends every image type at every bin", typesAndBins},
    Check{"format.hardware-bin", "it bins in the camera and on the host", hostBins},
    Check{"format.high-speed", "it sends images in high-speed mode", highSpeed},
    Check{"format.full", "it sends the whole sensor (quick: at bin 1 only)", fullFrames},
    Check{"format.full-rgb24", "it sends the whole sensor in colour", fullColour},
    Check{"format.full-raw16", "it sends the whole sensor with 16 bits", fullWide},
    Check{"format.centred", "a new region lies in the middle", centred},
    Check{"format.edges", "a region goes to the sensor's edges, and not beyond", edges},
};

}  // namespace

std::span<const Check> formatChecks() { return kChecks; }

}  // namespace orvik::ctl::selftest
