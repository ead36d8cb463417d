// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>

#include "tools/orvikctl/camera_choice.h"
#include "tools/orvikctl/commands/commands.h"
#include "tools/orvikctl/commands/group.h"
#include "tools/orvikctl/consent.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

using Mark = std::array<std::uint8_t, sizeof(Orvik_ID::id)>;
constexpr std::size_t kMarkBytes = sizeof(Mark);

struct SetOptions : CommonOptions {
  std::string text;
  bool isHex = false;
  bool yes = false;
};

std::string hexOf(const Mark& mark) {
  std::string text;
  for (const std::uint8_t byte : mark) {
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", byte);
    text += digits.data();
  }
  return text;
}

/// The mark as text, if it is one: printable, and nothing but zeros behind it.
std::optional<std::string> textOf(const Mark& mark) {
  const auto* const end = std::find(mark.begin(), mark.end(), 0);
  const bool printable =
      std::all_of(mark.begin(), end, [](std::uint8_t byte) { return byte >= 0x20 && byte < 0x7F; });
  const bool padded = std::all_of(end, mark.end(), [](std::uint8_t byte) { return byte == 0; });
  if (!printable || !padded) return std::nullopt;
  return std::string(mark.begin(), end);
}

void print(const Mark& mark, bool json) {
  const auto text = textOf(mark);
  if (json) {
    const Json result = {{"text", text ? Json(*text) : Json()}, {"hex", hexOf(mark)}};
    std::cout << result.dump(2) << '\n';
  } else {
    std::cout << text.value_or(hexOf(mark)) << '\n';
  }
}

int digitOf(char letter) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto place = kDigits.find(static_cast<char>(std::tolower(letter)));
  return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

Mark parseHex(const std::string& text) {
  Mark mark{};
  if (text.size() > 2 * kMarkBytes || text.size() % 2 != 0) {
    throw Failure(ExitCode::kUsage, "--hex takes up to 64 hexadecimal digits, two for each byte.");
  }
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = digitOf(text[i]);
    const int low = digitOf(text[i + 1]);
    if (high < 0 || low < 0) {
      throw Failure(ExitCode::kUsage, text + ": --hex takes hexadecimal digits only.");
    }
    mark[i / 2] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return mark;
}

Mark parseText(const std::string& text) {
  Mark mark{};
  if (text.size() > kMarkBytes) {
    throw Failure(ExitCode::kUsage, "the mark has room for 32 bytes; this one has " +
                                        std::to_string(text.size()) + ".");
  }
  std::copy(text.begin(), text.end(), mark.begin());
  return mark;
}

ExitCode get(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera = openCamera(cameras.choose(options.camera));
  std::error_code error;
  const Mark mark = camera.id(error);
  if (error == errorCode(Orvik_ERROR_DRIVER_FAILED)) {
    throw Failure(ExitCode::kCameraFailed,
                  "the camera has no mark, or it cannot be read. Give it one with `orvikctl id "
                  "set`.");
  }
  if (error) throw Error(Orvik_ERROR_CODE{error.value()}, camera.doing("reading the mark"));
  print(mark, options.json);
  return ExitCode::kOk;
}

ExitCode set(const SetOptions& options) {
  const Mark mark = options.isHex ? parseHex(options.text) : parseText(options.text);
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  Camera camera = openCamera(chosen);
  requireConsent(options.yes, "The mark in the flash of " + chosen.label() + " will be replaced.");
  camera.setId(mark);
  const Mark stored = camera.id();
  if (stored != mark) {
    throw Failure(ExitCode::kCameraFailed,
                  "the flash of " + chosen.label() + " holds " + hexOf(stored) +
                      " instead of the mark that was written. Repeat the command.");
  }
  print(stored, options.json);
  return ExitCode::kOk;
}

}  // namespace

Command addId(CLI::App& program) {
  CLI::App* group = addGroup(program, "id", "Read or write your own mark in a camera's flash");
  auto getOptions = std::make_shared<CommonOptions>();
  CLI::App* getApp =
      group->add_subcommand("get", "Print the mark: as text, or else as hexadecimal digits");
  addCommonOptions(*getApp, *getOptions, Scope::kOneCamera);

  auto setOptions = std::make_shared<SetOptions>();
  CLI::App* setApp = group->add_subcommand("set", "Write a mark of up to 32 bytes and verify it");
  setApp->add_option("mark", setOptions->text, "For example \"guide scope\"")
      ->type_name("TEXT")
      ->required();
  setApp->add_flag("--hex", setOptions->isHex, "The mark is given as hexadecimal digits");
  addConsentOption(*setApp, setOptions->yes);
  addCommonOptions(*setApp, *setOptions, Scope::kOneCamera);
  setApp->footer(
      "Try it on a virtual camera, whose flash is kept in a file:\n"
      "  orvikctl id set \"guide scope\" --yes --sim T15C,flash=my-camera.bin\n"
      "  orvikctl id get --sim T15C,flash=my-camera.bin");
  return groupCommand(group, {{getApp, [getOptions] { return get(*getOptions); }},
                              {setApp, [setOptions] { return set(*setOptions); }}});
}

}  // namespace orvik::ctl
