// SPDX-License-Identifier: MIT
#include "records.h"

#include <pybind11/chrono.h>
#include <pybind11/numpy.h>
#include <pybind11/stl.h>

#include <chrono>
#include <optional>
#include <string_view>
#include <utility>

#include "imaging/mosaic.h"

namespace orvik::python {
namespace {

namespace py = pybind11;

template <typename... Fields>
py::object make(const char* name, Fields&&... fields) {
  return py::module_::import("orvik.records").attr(name)(std::forward<Fields>(fields)...);
}

bool yes(Orvik_BOOL value) { return value == Orvik_TRUE; }

/// "RGGB" or so; None without a mosaic.
std::optional<std::string_view> nameOf(std::optional<BayerPattern> pattern) {
  if (!pattern) return std::nullopt;
  return imaging::mosaic(*pattern).name;
}

template <typename Range, typename Make>
py::list list(const Range& values, Make makeOne) {
  py::list made;
  for (const auto& value : values) made.append(makeOne(value));
  return made;
}

/// A time of day. datetime has no nanoseconds.
py::object utc(std::int64_t nanoseconds) {
  const auto since =
      std::chrono::floor<std::chrono::microseconds>(std::chrono::nanoseconds(nanoseconds));
  const py::object epoch = py::module_::import("orvik.records").attr("EPOCH");
  return epoch + py::cast(since);
}

/// The pixels of a frame: height x width, and x 3 for colour in the order red, green, blue, which
/// is a view of the library's blue, green, red.
py::array arrayOf(const std::shared_ptr<Frame>& frame) {
  const FrameInfo& info = frame->info();
  const py::capsule owner(new std::shared_ptr<Frame>(frame),
                          [](void* kept) { delete static_cast<std::shared_ptr<Frame>*>(kept); });
  std::uint8_t* const pixels = frame->bytes().data();
  const py::ssize_t height = info.height;
  const py::ssize_t width = info.width;
  if (info.type == Orvik_IMG_RGB24) {
    return py::array_t<std::uint8_t>({height, width, py::ssize_t{3}},
                                     {3 * width, py::ssize_t{3}, py::ssize_t{-1}}, pixels + 2,
                                     owner);
  }
  if (info.type == Orvik_IMG_RAW16) {
    void* const words = pixels;
    return py::array_t<std::uint16_t>({height, width}, static_cast<std::uint16_t*>(words), owner);
  }
  return py::array_t<std::uint8_t>({height, width}, pixels, owner);
}

}  // namespace

py::object record(const std::vector<Device>& devices) {
  return list(devices, [](const Device& one) {
    return make("Device", one.name, one.serial, one.port, one.identity, one.vendorId, one.productId,
                one.isOpen);
  });
}

py::object record(const std::vector<Control>& controls) {
  return list(controls, [](const Control& one) {
    return py::make_tuple(int{one.type()}, one.name(), one.description(), one.min(), one.max(),
                          one.defaultValue(), one.hasAuto(), one.isWritable());
  });
}

py::object record(const std::vector<Orvik_PIXEL>& pixels) {
  static_assert(sizeof(Orvik_PIXEL) == 2 * sizeof(int));
  const void* const first = pixels.data();
  return py::array_t<int>({static_cast<py::ssize_t>(pixels.size()), py::ssize_t{2}},
                          static_cast<const int*>(first));
}

py::object record(const std::array<std::uint8_t, sizeof(Orvik_ID::id)>& id) {
  const void* const first = id.data();
  return py::bytes(static_cast<const char*>(first), id.size());
}

py::object record(const Orvik_CAMERA_INFO& info) {
  const auto bayer = yes(info.colour) ? std::optional(info.bayer) : std::nullopt;
  const auto types =
      list(imageTypesOf(info), [](IMG_TYPE type) { return make("ImageType", int{type}); });
  return make("CameraInfo", info.name, info.maxWidth, info.maxHeight, yes(info.colour),
              nameOf(bayer), py::tuple(py::cast(binsOf(info))), py::tuple(types), info.pixelSizeUm,
              yes(info.hasST4), yes(info.hasCooler), yes(info.usb3Host), yes(info.usb3Camera));
}

py::object record(const Orvik_READOUT_INFO& info) {
  return make("Readout", info.converterBits, info.frameBytes, info.frameRate);
}

py::object record(const Orvik_COOLER_STATUS& status) {
  const auto age = status.secondsSinceReading;
  return make("CoolerStatus", yes(status.isRegulating), status.aim, status.power,
              status.temperature / 10.0, yes(status.isValid), age < 0 ? py::none() : py::cast(age),
              make("CoolerFault", int{status.fault}));
}

py::object record(const Orvik_DARK_INFO& info) {
  return make("DarkInfo", yes(info.hasDark), yes(info.inUse), info.mean, info.hotPixels, info.path);
}

py::object record(const Orvik_HOT_PIXEL_INFO& info) {
  return make("HotPixelInfo", yes(info.hasTable), yes(info.isOn), info.onSensor, info.inRegion);
}

py::object record(const Orvik_FIRMWARE_VERSION& version) {
  return make("FirmwareVersion", version.firmware, version.fpgaMajor, version.fpgaMinor);
}

py::object record(const std::shared_ptr<Frame>& frame, const Orvik_CAMERA_INFO& camera) {
  const FrameInfo& info = frame->info();
  const auto region =
      py::make_tuple(info.startX, info.startY, info.width * info.bin, info.height * info.bin);
  const auto facts =
      make("FrameInfo", info.capture, info.number, info.lostBefore,
           utc(info.exposureStart + info.utcOffset), utc(info.lastByte + info.utcOffset),
           static_cast<double>(info.uncertainty) / 1e9, static_cast<double>(info.exposureUs) / 1e6,
           info.gain, info.blackLevel, info.celsius(), make("ImageType", int{info.type}), info.bin,
           region, make("Flip", info.flip), nameOf(imageMosaic(camera, info)), yes(info.snapshot),
           yes(info.settled), camera.name);
  return make("Frame", arrayOf(frame), facts);
}

}  // namespace orvik::python
