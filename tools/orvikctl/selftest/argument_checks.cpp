// SPDX-License-Identifier: MIT
// Arguments that every function must refuse.
#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>

#include "tools/orvikctl/control_names.h"
#include "tools/orvikctl/selftest/check.h"
#include "tools/orvikctl/selftest/every_call.h"
#include "tools/orvikctl/selftest/expect.h"

namespace orvik::ctl::selftest {
namespace {

std::string wrongIndices(Subject&) {
  const int count = OrvikGetNumOfConnectedCameras();
  for (const int index :
       {-1, count, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
    const std::string at = " with index " + std::to_string(index);
    for (const Call& call : everyCall()) {
      expectCode(call.onWrongIndex, call.make(index), call.name + at);
    }
    expectCode(Orvik_ERROR_CAMERA_INDEX, OrvikOpenCamera(index), "OrvikOpenCamera" + at);
  }
  return std::to_string(everyCall().size() + 1) + " functions";
}

std::string nullPointers(Subject& subject) {
  struct NullCall {
    const char* name;
    Orvik_ERROR_CODE expected;
    Orvik_ERROR_CODE came;
  };
  const int index = subject.index();
  std::int32_t number = 0;
  int size = 0;
  Orvik_BOOL flag = Orvik_TRUE;
  IMG_TYPE type = Orvik_IMG_RAW8;
  const std::array calls = {
      NullCall{"OrvikGetCameraProperty", Orvik_ERROR_INFO_INDEX,
               OrvikGetCameraProperty(nullptr, index)},
      NullCall{"OrvikGetNumOfControls", Orvik_ERROR_CONTROL, OrvikGetNumOfControls(index, nullptr)},
      NullCall{"OrvikGetControlCaps", Orvik_ERROR_CONTROL, OrvikGetControlCaps(index, 0, nullptr)},
      NullCall{"OrvikGetControlValue, value", Orvik_ERROR_CONTROL,
               OrvikGetControlValue(index, Orvik_CTL_GAIN, nullptr, &flag)},
      NullCall{"OrvikGetControlValue, isAuto", Orvik_ERROR_CONTROL,
               OrvikGetControlValue(index, Orvik_CTL_GAIN, &number, nullptr)},
      NullCall{"OrvikGetROIFormat, width", Orvik_ERROR_ROI_SIZE,
               OrvikGetROIFormat(index, nullptr, &size, &size, &type)},
      NullCall{"OrvikGetROIFormat, height", Orvik_ERROR_ROI_SIZE,
               OrvikGetROIFormat(index, &size, nullptr, &size, &type)},
      NullCall{"OrvikGetROIFormat, bin", Orvik_ERROR_ROI_SIZE,
               OrvikGetROIFormat(index, &size, &size, nullptr, &type)},
      NullCall{"OrvikGetROIFormat, type", Orvik_ERROR_ROI_SIZE,
               OrvikGetROIFormat(index, &size, &size, &size, nullptr)},
      NullCall{"OrvikGetStartPos, x", Orvik_ERROR_START_POS,
               OrvikGetStartPos(index, nullptr, &size)},
      NullCall{"OrvikGetStartPos, y", Orvik_ERROR_START_POS,
               OrvikGetStartPos(index, &size, nullptr)},
      NullCall{"OrvikGetDroppedFrames", Orvik_ERROR_DRIVER_FAILED,
               OrvikGetDroppedFrames(index, nullptr)},
      NullCall{"OrvikEnableDarkSubtract, path", Orvik_ERROR_DARK_FILE_PATH,
               OrvikEnableDarkSubtract(index, nullptr, &flag)},
      NullCall{"OrvikEnableDarkSubtract, inUse", Orvik_ERROR_DARK_FILE_PATH,
               OrvikEnableDarkSubtract(index, nullptr, nullptr)},
      NullCall{"OrvikGetVideoData", Orvik_ERROR_BUFFER_SMALL,
               OrvikGetVideoData(index, nullptr, std::numeric_limits<std::int32_t>::max(), 0)},
      NullCall{"OrvikGetDataAfterExp", Orvik_ERROR_BUFFER_SMALL,
               OrvikGetDataAfterExp(index, nullptr, std::numeric_limits<std::int32_t>::max())},
      NullCall{"OrvikGetExpStatus", Orvik_ERROR_DRIVER_FAILED, OrvikGetExpStatus(index, nullptr)},
      NullCall{"OrvikGetID", Orvik_ERROR_DRIVER_FAILED, OrvikGetID(index, nullptr)},
  };
  for (const NullCall& call : calls) {
    expectCode(call.expected, call.came, std::string(call.name) + " with a null pointer");
  }
  return std::to_string(calls.size()) + " pointers";
}

/// Sets a format that is to be refused, and sees that the one from before stays.
void expectRefused(const Subject& subject, const ImageFormat& before, const ImageFormat& bad,
                   Orvik_ERROR_CODE expected) {
  const std::string what = formatText(bad);
  expectCode(expected, OrvikSetROIFormat(subject.index(), bad.width, bad.height, bad.bin, bad.type),
             "setting " + what);
  const ImageFormat now = subject.format();
  expectEqual(before.width, now.width, "width after " + what + " was refused");
  expectEqual(before.height, now.height, "height after " + what + " was refused");
  expectEqual(before.bin, now.bin, "bin after " + what + " was refused");
}

std::string wrongFormats(Subject& subject) {
  const ImageFormat good = subject.format();
  const Orvik_CAMERA_INFO info = subject.info();
  const std::vector<int> bins = binsOf(info);
  const ImageFormat full = subject.full();
  constexpr int kHuge = std::numeric_limits<int>::max();
  const auto sized = [&](int width, int height, int bin) {
    return ImageFormat{.width = width, .height = height, .bin = bin, .type = good.type};
  };
  const std::vector<ImageFormat> wrong = {
      sized(0, good.height, 1),
      sized(good.width, 0, 1),
      sized(-good.width, good.height, 1),
      sized(good.width, -good.height, 1),
      sized(good.width + 1, good.height, 1),
      sized(good.width + 2, good.height, 1),
      sized(good.width, good.height + 1, 1),
      sized(full.width + 4, good.height, 1),
      sized(good.width, full.height + 2, 1),
      sized(good.width, good.height, 0),
      sized(good.width, good.height, -1),
      sized(good.width, good.height, bins.back() + 1),
      sized(kHuge - 3, good.height, 1),
      sized(good.width, kHuge - 1, bins.back()),
      sized(full.width, full.height, 2),
      sized(1 << 30, 1 << 30, 4),
  };
  for (const ImageFormat& bad : wrong) expectRefused(subject, good, bad, Orvik_ERROR_ROI_SIZE);
  static_cast<void>(subject.takeFrame());
  return std::to_string(wrong.size()) + " formats";
}

std::string wrongTypes(Subject& subject) {
  const ImageFormat good = subject.format();
  for (const int number : {4, -1, std::numeric_limits<int>::max()}) {
    ImageFormat bad = good;
    bad.type = static_cast<IMG_TYPE>(number);
    expectRefused(subject, good, bad, Orvik_ERROR_IMAGE_TYPE);
  }
  const std::vector<IMG_TYPE> offered = imageTypesOf(subject.info());
  for (const IMG_TYPE type : {Orvik_IMG_RAW8, Orvik_IMG_RGB24, Orvik_IMG_RAW16, Orvik_IMG_Y8}) {
    if (std::find(offered.begin(), offered.end(), type) != offered.end()) continue;
    ImageFormat bad = good;
    bad.type = type;
    expectRefused(subject, good, bad, Orvik_ERROR_ROI_SIZE);
  }
  return std::to_string(offered.size()) + " types offered";
}

std::string smallBuffers(Subject& subject) {
  FrameBuffer frame(subject.format());
  expectCode(Orvik_ERROR_BUFFER_SMALL,
             OrvikGetDataAfterExp(subject.index(), frame.data(), frame.size() - 1),
             "OrvikGetDataAfterExp with a buffer one byte short");
  subject.startVideo();
  for (const std::int32_t size :
       {frame.size() - 1, 0, -1, std::numeric_limits<std::int32_t>::min()}) {
    expectCode(
        Orvik_ERROR_BUFFER_SMALL,
        OrvikGetVideoData(subject.index(), frame.data(), size, subject.conditions().timeoutMs),
        "OrvikGetVideoData with a buffer of " + std::to_string(size) + " bytes");
  }
  frame.expectUntouched("that is too small");
  subject.readFrame(frame);
  return "";
}

std::string wrongControls(Subject& subject) {
  const int index = subject.index();
  int count = 0;
  expectOk(OrvikGetNumOfControls(index, &count), "OrvikGetNumOfControls");
  for (const int position : {-1, count, std::numeric_limits<int>::max()}) {
    Orvik_CONTROL_CAPS caps;
    expectCode(Orvik_ERROR_CONTROL, OrvikGetControlCaps(index, position, &caps),
               "OrvikGetControlCaps(" + std::to_string(position) + ")");
  }
  for (const int number : {-1, Orvik_CTL_COOLER_ON + 1, std::numeric_limits<int>::max()}) {
    const auto type = static_cast<Orvik_CONTROL_TYPE>(number);
    std::int32_t value = 0;
    Orvik_BOOL isAuto = Orvik_FALSE;
    expectCode(Orvik_ERROR_CONTROL, OrvikGetControlValue(index, type, &value, &isAuto),
               "reading control " + std::to_string(number));
    expectCode(Orvik_ERROR_CONTROL, OrvikSetControlValue(index, type, 1, Orvik_FALSE),
               "setting control " + std::to_string(number));
  }
  return "";
}

constexpr std::array kChecks = {
    Check{"arguments.index", "every function refuses an index without a camera", wrongIndices},
    Check{"arguments.null", "null pointers are refused, each with its code", nullPointers},
    Check{"arguments.format", "sizes and bins that cannot be are refused; the format stays",
          wrongFormats},
    Check{"arguments.type", "image types that it does not offer are refused", wrongTypes},
    Check{"arguments.buffer", "a buffer that is too small is refused and not touched",
          smallBuffers},
    Check{"arguments.control", "controls that do not exist are refused", wrongControls},
};

}  // namespace

std::span<const Check> argumentChecks() { return kChecks; }

}  // namespace orvik::ctl::selftest
