// SPDX-License-Identifier: MIT
#include "integrations/server/page/commands.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "imaging/image_types.h"

namespace orvik::server::command {
namespace {

using Json = nlohmann::json;

constexpr std::int64_t kLargestLength = 1'000'000;  // pixels
constexpr std::int64_t kLargestId = std::int64_t{1} << 53;
constexpr double kFastestRate = 1000;  // degrees per minute
constexpr std::size_t kLongestName = 255;

/// A member is missing or is not what it should be.
struct BadMember : std::invalid_argument {
  explicit BadMember(const std::string& name)
      : std::invalid_argument("The command's \"" + name + "\" is missing or not valid.") {}
};

/// The members of a command. The functions throw BadMember.
class Members {
 public:
  explicit Members(const Json& object) : object_(object) {}

  [[nodiscard]] const Json& at(const char* name) const {
    const auto found = object_.find(name);
    if (found == object_.end()) throw BadMember(name);
    return *found;
  }
  [[nodiscard]] bool has(const char* name) const {
    const auto found = object_.find(name);
    return found != object_.end() && !found->is_null();
  }
  [[nodiscard]] std::int64_t whole(const char* name, std::int64_t from, std::int64_t to) const {
    return wholeOf(at(name), name, from, to);
  }
  [[nodiscard]] double number(const char* name, double from, double to) const {
    const Json& value = at(name);
    if (!value.is_number()) throw BadMember(name);
    const auto number = value.get<double>();
    if (!(number >= from && number <= to)) throw BadMember(name);
    return number;
  }
  [[nodiscard]] bool truth(const char* name) const {
    const Json& value = at(name);
    if (!value.is_boolean()) throw BadMember(name);
    return value.get<bool>();
  }
  [[nodiscard]] std::string text(const char* name, std::size_t longest = kLongestName) const {
    const Json& value = at(name);
    if (!value.is_string()) throw BadMember(name);
    auto text = value.get<std::string>();
    if (text.size() > longest) throw BadMember(name);
    return text;
  }
  template <std::size_t kCount>
  [[nodiscard]] std::array<int, kCount> wholes(const char* name, std::int64_t from,
                                               std::int64_t to) const {
    const Json& list = at(name);
    if (!list.is_array() || list.size() != kCount) throw BadMember(name);
    std::array<int, kCount> values{};
    for (std::size_t i = 0; i < kCount; ++i) {
      values[i] = static_cast<int>(wholeOf(list[i], name, from, to));
    }
    return values;
  }
  /// The name of something as `parse` understands it.
  template <typename Parse>
  [[nodiscard]] auto named(const char* name, Parse parse) const {
    const auto value = parse(text(name));
    if (!value) throw BadMember(name);
    return *value;
  }

 private:
  static std::int64_t wholeOf(const Json& value, const char* name, std::int64_t from,
                              std::int64_t to) {
    // Beyond 64 bits a number is stored as a fraction, or as an unsigned one.
    if (!value.is_number_integer()) throw BadMember(name);
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{1} << 62) {
      throw BadMember(name);
    }
    const auto number = value.get<std::int64_t>();
    if (number < from || number > to) throw BadMember(name);
    return number;
  }

  const Json& object_;
};

Any view(const Members& members) {
  View view;
  view.wish.isShown = members.truth("shown");
  const auto size = members.wholes<2>("size", 0, kLargestLength);
  view.wish.place = {size[0], size[1]};
  if (members.has("window")) {
    const auto window = members.wholes<4>("window", -kLargestLength, kLargestLength);
    if (window[2] < 1 || window[3] < 1) throw BadMember("window");
    view.wish.window = imaging::Window{window[0], window[1], window[2], window[3]};
  }
  return view;
}

Any pointer(const Members& members) {
  if (!members.has("x") || !members.has("y")) return Pointer{};
  return Pointer{{{static_cast<int>(members.whole("x", -kLargestLength, kLargestLength)),
                   static_cast<int>(members.whole("y", -kLargestLength, kLargestLength))}}};
}

Any stretch(const Members& members) {
  imaging::Stretch stretch;
  const std::string mode = members.text("mode");
  if (mode == "auto") {
    stretch.mode = imaging::Stretch::Mode::kAuto;
    return SetStretch{stretch};
  }
  if (mode != "linear" && mode != "asinh") throw BadMember("mode");
  stretch.mode =
      mode == "linear" ? imaging::Stretch::Mode::kLinear : imaging::Stretch::Mode::kAsinh;
  stretch.black = members.number("black", 0, 1);
  stretch.white = members.number("white", 0, 1);
  if (stretch.white <= stretch.black) throw BadMember("white");
  if (members.has("strength") || stretch.mode == imaging::Stretch::Mode::kAsinh) {
    stretch.strength = members.number("strength", 1, 1000);
  }
  return SetStretch{stretch};
}

Any control(const Members& members) {
  using Limits = std::numeric_limits<std::int32_t>;
  Control control;
  control.type = Orvik_CONTROL_TYPE{static_cast<int>(members.whole("control", 0, 1000))};
  control.value.value = static_cast<int>(members.whole("value", Limits::min(), Limits::max()));
  control.value.isAuto = members.has("auto") && members.truth("auto");
  return control;
}

std::optional<IMG_TYPE> imageTypeNamed(std::string_view name) {
  const auto names = imaging::imageTypeNames();
  const auto found = std::find(names.begin(), names.end(), name);
  if (found == names.end()) return std::nullopt;
  return IMG_TYPE{static_cast<int>(found - names.begin())};
}

Any format(const Members& members) {
  const auto region = members.wholes<4>("region", 0, kLargestLength);
  return Format{{region[0], region[1], region[2], region[3]},
                static_cast<int>(members.whole("bin", 1, 64)),
                members.named("imageType", imageTypeNamed)};
}

double rate(const Members& members) { return members.number("rate", 0.01, kFastestRate); }

GuideD line(const Members& members) {
  return GuideD{static_cast<int>(members.whole("line", 0, 3))};
}

/// Switches something, or does what `other` stands for.
std::optional<bool> useOr(const Members& members, const char* other) {
  if (members.has("use")) return members.truth("use");
  if (!members.truth(other)) throw BadMember(other);
  return std::nullopt;
}

Any capture(const Members& members) {
  using Seconds = CaptureRequest::Seconds;
  constexpr double kLongest = 1e9;  // the desk has stricter limits
  CaptureRequest request;
  request.kind = members.named("kind", captureKindNamed);
  request.format = members.named("format", captureFormatNamed);
  if (members.has("count")) request.count = members.whole("count", 0, kLargestId);
  if (members.has("seconds")) request.length = Seconds(members.number("seconds", 0, kLongest));
  if (members.has("interval")) request.interval = Seconds(members.number("interval", 0, kLongest));
  if (members.has("exposure")) request.exposure = Seconds(members.number("exposure", 0, kLongest));
  if (members.has("name")) request.name = members.text("name");
  if (members.has("object")) request.object = members.text("object");
  if (members.has("frameKind")) request.frameKind = members.named("frameKind", frameKindNamed);
  return Capture{request};
}

using Parser = Any (*)(const Members&);
constexpr std::array<std::pair<std::string_view, Parser>, 17> kParsers{{
    {"view", view},
    {"seen",
     [](const Members& members) -> Any {
       return Seen{static_cast<std::uint32_t>(
           members.whole("message", 0, std::numeric_limits<std::uint32_t>::max()))};
     }},
    {"pointer", pointer},
    {"focus", [](const Members& members) -> Any { return Focus{members.truth("on")}; }},
    {"stretch", stretch},
    {"control", control},
    {"format", format},
    {"cool",
     [](const Members& members) -> Any {
       return Cool{static_cast<int>(members.whole("target", -100, 100)), rate(members)};
     }},
    {"warm", [](const Members& members) -> Any { return Warm{rate(members)}; }},
    {"cooler-off", [](const Members&) -> Any { return CoolerOff{}; }},
    {"guide",
     [](const Members& members) -> Any {
       return Guide{line(members), members.truth("on")};
     }},
    {"pulse",
     [](const Members& members) -> Any {
       return Pulse{line(members), std::chrono::milliseconds(members.whole("ms", 1, 60000))};
     }},
    {"dark", [](const Members& members) -> Any { return Dark{useOr(members, "record")}; }},
    {"hot-pixels",
     [](const Members& members) -> Any { return HotPixels{useOr(members, "detect")}; }},
    {"capture", capture},
    {"stop-capture", [](const Members&) -> Any { return StopCapture{}; }},
    {"delete", [](const Members& members) -> Any { return Delete{members.text("name")}; }},
}};

}  // namespace

Parsed parse(std::string_view text) {
  Parsed parsed;
  // Depth does no harm: neither the parser nor the destructor calls itself.
  const Json object = Json::parse(text, nullptr, false);
  if (!object.is_object()) {
    parsed.fault = "A command is a JSON object.";
    return parsed;
  }
  const Members members(object);
  try {
    if (members.has("id")) parsed.id = members.whole("id", -kLargestId, kLargestId);
    const std::string name = members.text("do");
    const auto* const found = std::find_if(kParsers.begin(), kParsers.end(),
                                           [&](const auto& one) { return one.first == name; });
    if (found == kParsers.end()) {
      parsed.fault = "There is no such command.";
    } else {
      parsed.command = found->second(members);
    }
  } catch (const BadMember& bad) {
    parsed.fault = bad.what();
  }
  return parsed;
}

}  // namespace orvik::server::command
