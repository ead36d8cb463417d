// SPDX-License-Identifier: MIT
// The whole interface at a glance: one row a member.
#include "integrations/server/alpaca/members.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string>

#include "integrations/server/alpaca/member_values.h"

namespace orvik::server {
namespace {

using enum Type;
using View = CameraView;
using Camera = AlpacaCamera;
using Args = Arguments;

/// A row and what can be said of it.
struct Row : Member {
  /// Works without a connection, too.
  [[nodiscard]] constexpr Row unconnected() const {
    Row row = *this;
    row.needsConnection = false;
    return row;
  }
  /// Only some cameras have it.
  [[nodiscard]] constexpr Row ifIt(bool (*has)(const View&)) const {
    Row row = *this;
    row.isOffered = has;
    return row;
  }
  /// Can be PUT.
  [[nodiscard]] constexpr Row set(std::initializer_list<Parameter> required,
                                  decltype(Member::put) function) const {
    Row row = *this;
    row.hasPut = true;
    std::copy(required.begin(), required.end(), row.parameters.begin());
    row.put = function;
    return row;
  }
};

/// A member that can be read. No camera has it without a function.
constexpr Row value(std::string_view name, Type type, decltype(Member::get) function) {
  Row row;
  row.name = name;
  row.type = type;
  row.hasGet = true;
  row.get = function;
  return row;
}
/// A member that only acts. No camera has it without a function.
constexpr Row method(std::string_view name, std::initializer_list<Parameter> required,
                     decltype(Member::put) function) {
  Row row;
  row.name = name;
  return row.set(required, function);
}

bool isColour(const View& c) { return c.info().colour == Orvik_TRUE; }
bool cools(const View& c) { return c.info().hasCooler == Orvik_TRUE; }
bool guides(const View& c) { return c.info().hasST4 == Orvik_TRUE; }
bool hasThermometer(const View& c) { return c.control(Orvik_CTL_TEMPERATURE) != nullptr; }
bool hasOffset(const View& c) { return c.control(Orvik_CTL_BRIGHTNESS) != nullptr; }

const Control& exposure(const View& c) { return *c.control(Orvik_CTL_EXPOSURE); }
const Control& gain(const View& c) { return *c.control(Orvik_CTL_GAIN); }
const Control& offset(const View& c) { return *c.control(Orvik_CTL_BRIGHTNESS); }
constexpr double kMicrosecond = 1e-6;

Json largestBin(const View& c) { return std::ranges::max(binsOf(c.info())); }
template <bool kValue>
Json always(const View&) {
  return kValue;
}

// PUTs that have succeeded when the function returns.
template <auto kFunction>
void change(Camera& camera, const Args& args, const PutDone& done) {
  (camera.*kFunction)(args.integer(0));
  done({});
}
template <auto kPart>
void changeSubframe(Camera& camera, const Args& args, const PutDone& done) {
  camera.setSubframe(kPart, args.integer(0));
  done({});
}
void startExposure(Camera& camera, const Args& args, const PutDone& done) {
  camera.startExposure(args.real(0), args.flag(1));
  done({});
}
void pulseGuide(Camera& camera, const Args& args, const PutDone& done) {
  camera.pulseGuide(args.integer(0), args.integer(1));
  done({});
}

// PUTs whose success is known later.
void setConnected(Camera& camera, const Args& args, const PutDone& done) {
  camera.note(args.who(), args.flag(0) ? "Connects" : "Disconnects");
  if (args.flag(0)) {
    camera.connect(done);
  } else {
    camera.disconnect(done);
  }
}
void setCooler(Camera& camera, const Args& args, const PutDone& done) {
  camera.note(args.who(), args.flag(0) ? "Cooler on" : "Cooler off");
  camera.setCooler(args.flag(0), done);
}
void setTarget(Camera& camera, const Args& args, const PutDone& done) {
  camera.setTarget(args.real(0), done);
  camera.note(args.who(), "Target " + std::to_string(std::lround(args.real(0))) + " C");
}
void abortExposure(Camera& camera, const Args&, const PutDone& done) { camera.abortExposure(done); }

// PUTs whose outcome `connecting` tells.
void connect(Camera& camera, const Args& args, const PutDone& done) {
  camera.note(args.who(), "Connects");
  camera.connect([](const auto&) {});
  done({});
}
void disconnect(Camera& camera, const Args& args, const PutDone& done) {
  camera.note(args.who(), "Disconnects");
  camera.disconnect([](const auto&) {});
  done({});
}

// clang-format off
constexpr auto kMembers = std::to_array<Row>({
    // Of all devices.
    method("action", {{"Action", kText}}, nullptr).unconnected(),
    method("commandblind", {{"Command", kText}, {"Raw", kBool}}, nullptr).unconnected(),
    method("commandbool", {{"Command", kText}, {"Raw", kBool}}, nullptr).unconnected(),
    method("commandstring", {{"Command", kText}, {"Raw", kBool}}, nullptr).unconnected(),
    method("connect", {}, connect).unconnected(),
    value("connected", kBool, [](const View& c) -> Json { return c.isConnected; })
        .set({{"Connected", kBool}}, setConnected).unconnected(),
    value("connecting", kBool, connecting).unconnected(),
    value("description", kText, description).unconnected(),
    value("devicestate", kList, deviceState),
    method("disconnect", {}, disconnect).unconnected(),
    value("driverinfo", kText, driverInfo).unconnected(),
    value("driverversion", kText, driverVersion).unconnected(),
    value("interfaceversion", kInt, [](const View&) -> Json { return 4; }).unconnected(),
    value("name", kText, [](const View& c) -> Json { return c.identity.name; }).unconnected(),
    value("supportedactions", kList, [](const View&) { return Json::array(); }).unconnected(),

    // What the camera is.
    value("bayeroffsetx", kInt, bayerOffsetX).ifIt(isColour),
    value("bayeroffsety", kInt, bayerOffsetY).ifIt(isColour),
    value("cameraxsize", kInt, [](const View& c) -> Json { return c.info().maxWidth; }),
    value("cameraysize", kInt, [](const View& c) -> Json { return c.info().maxHeight; }),
    value("canabortexposure", kBool, always<true>),
    value("canasymmetricbin", kBool, always<false>),
    value("canfastreadout", kBool, always<false>),
    value("cangetcoolerpower", kBool, [](const View& c) -> Json { return cools(c); }),
    value("canpulseguide", kBool, [](const View& c) -> Json { return guides(c); }),
    value("cansetccdtemperature", kBool, [](const View& c) -> Json { return cools(c); }),
    // An exposure cannot be ended so that its image is kept.
    value("canstopexposure", kBool, always<false>),
    value("electronsperadu", kDouble, nullptr),
    value("exposuremax", kDouble, [](const View& c) -> Json { return exposure(c).max() / 1e6; }),
    value("exposuremin", kDouble, [](const View& c) -> Json { return exposure(c).min() / 1e6; }),
    value("exposureresolution", kDouble, [](const View&) -> Json { return kMicrosecond; }),
    value("fullwellcapacity", kDouble, nullptr),
    value("hasshutter", kBool, always<false>),
    value("maxadu", kInt, [](const View& c) -> Json { return c.mode().maxAdu; }),
    value("maxbinx", kInt, largestBin),
    value("maxbiny", kInt, largestBin),
    value("pixelsizex", kDouble, [](const View& c) -> Json { return c.info().pixelSizeUm; }),
    value("pixelsizey", kDouble, [](const View& c) -> Json { return c.info().pixelSizeUm; }),
    value("readoutmodes", kList, readoutModeNames),
    value("sensorname", kText, [](const View&) -> Json { return ""; }),
    value("sensortype", kInt, [](const View& c) -> Json { return isColour(c) ? 2 : 0; }),

    // Settings of the next exposure.
    value("binx", kInt, [](const View& c) -> Json { return c.settings.subframe.bin; })
        .set({{"BinX", kInt}}, change<&Camera::setBin>),
    value("biny", kInt, [](const View& c) -> Json { return c.settings.subframe.bin; })
        .set({{"BinY", kInt}}, change<&Camera::setBin>),
    value("fastreadout", kBool, nullptr).set({{"FastReadout", kBool}}, nullptr),
    value("gain", kInt, [](const View& c) -> Json { return c.settings.gain; })
        .set({{"Gain", kInt}}, change<&Camera::setGain>),
    value("gainmax", kInt, [](const View& c) -> Json { return gain(c).max(); }),
    value("gainmin", kInt, [](const View& c) -> Json { return gain(c).min(); }),
    value("gains", kList, nullptr),
    value("numx", kInt, [](const View& c) -> Json { return c.settings.subframe.numX; })
        .set({{"NumX", kInt}}, changeSubframe<&Subframe::numX>),
    value("numy", kInt, [](const View& c) -> Json { return c.settings.subframe.numY; })
        .set({{"NumY", kInt}}, changeSubframe<&Subframe::numY>),
    value("offset", kInt, [](const View& c) -> Json { return c.settings.offset; })
        .set({{"Offset", kInt}}, change<&Camera::setOffset>).ifIt(hasOffset),
    value("offsetmax", kInt, [](const View& c) -> Json { return offset(c).max(); }).ifIt(hasOffset),
    value("offsetmin", kInt, [](const View& c) -> Json { return offset(c).min(); }).ifIt(hasOffset),
    value("offsets", kList, nullptr),
    value("readoutmode", kInt, [](const View& c) -> Json { return c.settings.readoutMode; })
        .set({{"ReadoutMode", kInt}}, change<&Camera::setReadoutMode>),
    value("startx", kInt, [](const View& c) -> Json { return c.settings.subframe.startX; })
        .set({{"StartX", kInt}}, changeSubframe<&Subframe::startX>),
    value("starty", kInt, [](const View& c) -> Json { return c.settings.subframe.startY; })
        .set({{"StartY", kInt}}, changeSubframe<&Subframe::startY>),
    value("subexposureduration", kDouble, nullptr)
        .set({{"SubExposureDuration", kDouble}}, nullptr),

    // Exposures and images.
    method("abortexposure", {}, abortExposure),
    value("camerastate", kInt, [](const View& c) -> Json { return static_cast<int>(c.state); }),
    value("imagearray", kImage, nullptr),
    value("imagearrayvariant", kImage, nullptr),
    value("imageready", kBool, imageReady),
    value("lastexposureduration", kDouble, lastExposureSeconds),
    value("lastexposurestarttime", kText, lastExposureStart),
    value("percentcompleted", kInt, [](const View& c) -> Json { return c.percent; }),
    method("startexposure", {{"Duration", kDouble}, {"Light", kBool}}, startExposure),
    method("stopexposure", {}, nullptr),

    // Cooler.
    value("ccdtemperature", kDouble, temperature).ifIt(hasThermometer),
    value("cooleron", kBool, [](const View& c) -> Json { return cooling(c).isOn; })
        .set({{"CoolerOn", kBool}}, setCooler).ifIt(cools),
    value("coolerpower", kDouble, [](const View& c) -> Json { return double(cooling(c).power); })
        .ifIt(cools),
    value("heatsinktemperature", kDouble, nullptr),
    value("setccdtemperature", kDouble, [](const View& c) -> Json { return double(cooling(c).target); })
        .set({{"SetCCDTemperature", kDouble}}, setTarget).ifIt(cools),

    // Guide port.
    value("ispulseguiding", kBool, isPulseGuiding).ifIt(guides),
    method("pulseguide", {{"Direction", kInt}, {"Duration", kInt}}, pulseGuide).ifIt(guides),
});
// clang-format on

}  // namespace

const Member* findMember(std::string_view name) {
  const auto* const found = std::ranges::find(kMembers, name, &Member::name);
  return found == kMembers.end() ? nullptr : &*found;
}

}  // namespace orvik::server
