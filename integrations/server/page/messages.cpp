// SPDX-License-Identifier: MIT
#include "integrations/server/page/messages.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <nlohmann/json.hpp>

#include "imaging/image_types.h"
#include "integrations/server/camera/software.h"

namespace orvik::server::message {
namespace {

using Json = nlohmann::json;

/// Names of cameras, files and people may hold any bytes; those that are no UTF-8 are replaced.
std::string textOf(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

double secondsOf(std::chrono::system_clock::time_point time) {
  return std::chrono::duration<double>(time.time_since_epoch()).count();
}

/// A figure with so many decimals: more would only make the message longer.
double rounded(double value, double perUnit) {
  return std::isfinite(value) ? std::round(value * perUnit) / perUnit : 0;
}

template <typename Value>
Json orNull(const std::optional<Value>& value) {
  return value ? Json(*value) : Json();
}

std::string_view nameOf(Link link) {
  switch (link) {
    case Link::kAbsent:
      break;
    case Link::kClosed:
      return "closed";
    case Link::kOpening:
      return "opening";
    case Link::kOpen:
      return "open";
  }
  return "absent";
}

std::string_view nameOf(Activity activity) {
  switch (activity) {
    case Activity::kNone:
      break;
    case Activity::kLive:
      return "live";
    case Activity::kCapture:
      return "capture";
  }
  return "none";
}

std::string_view nameOf(imaging::Stretch::Mode mode) {
  switch (mode) {
    case imaging::Stretch::Mode::kLinear:
      break;
    case imaging::Stretch::Mode::kAuto:
      return "auto";
    case imaging::Stretch::Mode::kAsinh:
      return "asinh";
  }
  return "linear";
}

Json faultOf(Orvik_COOLER_FAULT fault) {
  switch (fault) {
    case Orvik_COOLER_NO_FAULT:
      break;
    case Orvik_COOLER_NO_READING:
      return "The thermometer does not answer: the cooler is without power.";
    case Orvik_COOLER_OUT_OF_RANGE:
      return "The thermometer's readings are not plausible: the cooler is without power.";
  }
  return {};
}

Json listOf(const TemperatureSample& sample) {
  return {rounded(secondsOf(sample.time), 10), rounded(sample.celsius, 10), orNull(sample.target),
          sample.power};
}

Json objectOf(const imaging::Stretch& stretch) {
  return {{"mode", nameOf(stretch.mode)},
          {"black", rounded(stretch.black, 1e6)},
          {"white", rounded(stretch.white, 1e6)},
          {"strength", stretch.strength},
          {"midtone", rounded(stretch.midtone, 1e6)}};
}

Json listOf(const std::vector<Control>& controls) {
  Json list = Json::array();
  for (const Control& control : controls) {
    list.push_back({{"id", static_cast<int>(control.type())},
                    {"name", control.name()},
                    {"description", control.description()},
                    {"min", control.min()},
                    {"max", control.max()},
                    {"default", control.defaultValue()},
                    {"hasAuto", control.hasAuto()},
                    {"writable", control.isWritable()}});
  }
  return list;
}

Json objectOf(const CoolingState& cooling) {
  return {{"on", cooling.isOn},
          {"target", cooling.target},
          {"rampEnd", orNull(cooling.rampEnd)},
          {"warmingUp", cooling.isWarmingUp},
          {"power", cooling.power},
          {"fault", faultOf(cooling.fault)}};
}

Json objectOf(const imaging::ChannelStatistics& channel, std::string_view name) {
  return {
      {"name", name},       {"histogram", channel.histogram},     {"min", channel.min},
      {"max", channel.max}, {"mean", rounded(channel.mean, 100)}, {"saturated", channel.saturated}};
}

}  // namespace

std::string hello(const Hello& hello) {
  Orvik_CAMERA_INFO info{};
  info.bins[0] = 0;
  info.imageTypes[0] = Orvik_IMG_END;
  if (hello.description) info = hello.description->info;
  Json types = Json::array();
  for (const IMG_TYPE type : imageTypesOf(info)) types.push_back(imaging::imageType(type).name);
  Json temperatures = Json::array();
  for (const TemperatureSample& sample : hello.temperatures) temperatures.push_back(listOf(sample));
  return textOf(
      {{"type", "hello"},
       {"you", hello.you},
       {"camera",
        {{"number", hello.camera.number},
         {"name", hello.camera.name},
         {"label", hello.camera.label},
         {"width", info.maxWidth},
         {"height", info.maxHeight},
         {"colour", info.colour == Orvik_TRUE},
         {"pixelSize", info.pixelSizeUm},
         {"hasCooler", info.hasCooler == Orvik_TRUE},
         {"hasGuidePort", info.hasST4 == Orvik_TRUE},
         {"guideLines", hello.wiring},
         {"bins", binsOf(info)},
         {"types", types}}},
       {"controls", hello.description ? listOf(hello.description->controls) : Json::array()},
       {"stretch", objectOf(hello.stretch)},
       {"temperatures", temperatures},
       {"software", software()}});
}

std::string status(const CameraStatus& status, int viewers) {
  Json controls = Json::object();
  for (const ControlState& control : status.controls) {
    controls[std::to_string(static_cast<int>(control.type))] = {control.now.value,
                                                                control.now.isAuto};
  }
  Json events = Json::array();
  for (const Event& event : status.events) {
    events.push_back({{"number", event.number},
                      {"time", rounded(secondsOf(event.time), 1000)},
                      {"who", event.who},
                      {"text", event.text}});
  }
  const imaging::Region& region = status.region;
  return textOf({{"type", "status"},
                 {"link", nameOf(status.link)},
                 {"problem", status.problem},
                 {"activity", nameOf(status.activity)},
                 {"capture", status.capture},
                 {"temperature", orNull(status.temperature)},
                 {"cooling", status.cooling ? objectOf(*status.cooling) : Json()},
                 {"guide", status.guideLines},
                 {"controls", controls},
                 {"region", {region.x, region.y, region.width, region.height}},
                 {"bin", status.format.bin},
                 {"imageType", imaging::imageType(status.format.type).name},
                 {"width", status.format.width},
                 {"height", status.format.height},
                 {"dark", {{"has", status.hasDark}, {"uses", status.usesDark}}},
                 {"hotPixels", {{"count", status.hotPixels}, {"uses", status.usesHotPixels}}},
                 {"frameRate", rounded(status.frameRate, 100)},
                 {"lost", status.lost},
                 {"viewers", viewers},
                 {"events", events}});
}

std::string stretch(const imaging::Stretch& stretch) {
  Json message = objectOf(stretch);
  message["type"] = "stretch";
  return textOf(message);
}

std::string statistics(const FrameReport& report, const std::optional<PixelValue>& pixel) {
  Json channels = Json::array();
  if (report.channels.size() == 3) {
    channels = {objectOf(report.channels[0], "red"), objectOf(report.channels[1], "green"),
                objectOf(report.channels[2], "blue")};
  } else {
    for (const auto& channel : report.channels) channels.push_back(objectOf(channel, "grey"));
  }
  Json under;
  if (pixel) under = {{"x", pixel->x}, {"y", pixel->y}, {"values", pixel->values}};
  return textOf({{"type", "statistics"},
                 {"frame", report.frame},
                 {"depth", report.depth},
                 {"channels", channels},
                 {"pixel", under}});
}

std::string stars(const std::vector<imaging::Star>& stars, std::span<const FocusSample> course) {
  Json list = Json::array();
  for (const imaging::Star& star : stars) {
    list.push_back({{"x", rounded(star.x, 100)},
                    {"y", rounded(star.y, 100)},
                    {"hfr", rounded(star.hfr, 100)},
                    {"fwhm", rounded(star.fwhm, 100)},
                    {"peak", star.peak},
                    {"saturated", star.saturated}});
  }
  Json samples = Json::array();
  for (const FocusSample& sample : course) {
    samples.push_back({rounded(secondsOf(sample.time), 1000), rounded(sample.hfr, 100),
                       rounded(sample.fwhm, 100)});
  }
  return textOf({{"type", "stars"}, {"count", stars.size()}, {"stars", list}, {"course", samples}});
}

std::string temperature(const TemperatureSample& sample) {
  return textOf({{"type", "temperature"}, {"sample", listOf(sample)}});
}

std::string captures(const CaptureState& state) {
  Json running;
  if (state.running) {
    const CaptureState::Running& now = *state.running;
    running = {{"what", now.what},
               {"who", now.who},
               {"format", server::nameOf(now.format)},
               {"done", now.done},
               {"count", orNull(now.count)},
               {"lost", now.lost},
               {"begun", rounded(secondsOf(now.begun), 1000)},
               {"remaining", now.remaining ? Json(rounded(now.remaining->count(), 10)) : Json()},
               {"exposureLeft", rounded(now.exposureLeft.count(), 10)},
               {"bytes", now.bytes},
               {"file", now.file}};
  }
  Json last;
  if (state.last) {
    last = {{"what", state.last->what},
            {"done", state.last->done},
            {"message", orNull(state.last->message)}};
  }
  return textOf({{"type", "captures"}, {"running", running}, {"last", last}});
}

std::string files(const CaptureFolder::Listing& listing) {
  Json list = Json::array();
  for (const CapturedFile& file : listing.files) {
    list.push_back(
        {{"name", file.name}, {"bytes", file.bytes}, {"time", rounded(secondsOf(file.time), 10)}});
  }
  return textOf(
      {{"type", "files"}, {"folder", listing.folder}, {"free", listing.free}, {"files", list}});
}

std::string done(std::int64_t id) { return textOf({{"type", "done"}, {"id", id}}); }

std::string failed(std::optional<std::int64_t> id, std::string_view text) {
  return textOf({{"type", "failed"}, {"id", orNull(id)}, {"message", text}});
}

std::string pictureHead(const Picture& picture) {
  static_assert(std::endian::native == std::endian::little);
  std::string head(32, '\0');
  const auto put = [&head](std::size_t at, auto value) {
    std::memcpy(head.data() + at, &value, sizeof value);
  };
  const auto length = [](int pixels) {
    return static_cast<std::uint16_t>(std::clamp(pixels, 0, 65535));
  };
  put(0, picture.message);
  put(4, static_cast<std::uint32_t>(picture.frame));
  put(8, length(picture.part.x));
  put(10, length(picture.part.y));
  put(12, length(picture.part.width));
  put(14, length(picture.part.height));
  put(16, length(picture.whole.width));
  put(18, length(picture.whole.height));
  put(20, static_cast<std::uint16_t>(picture.isMagnified ? 1 : 0));
  put(24, static_cast<float>(picture.exposure));
  return head;
}

std::string cameras(const std::vector<std::shared_ptr<ServedCamera>>& cameras) {
  Json list = Json::array();
  for (const auto& camera : cameras) {
    const CameraIdentity identity = camera->identity();
    const auto status = camera->status();
    list.push_back({{"number", identity.number},
                    {"name", identity.name},
                    {"label", identity.label},
                    {"link", nameOf(status->link)},
                    {"activity", nameOf(status->activity)},
                    {"capture", status->capture}});
  }
  return textOf(list);
}

}  // namespace orvik::server::message
