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
#include "tools/orvikctl/error_text.h"
#include "tools/orvikctl/json.h"

namespace orvik::ctl {
namespace {

constexpr std::size_t kMarkBytes = sizeof(Orvik_ID::id);

struct SetOptions : CommonOptions {
  std::string text;
  bool isHex = false;
  bool yes = false;
};

std::string hexOf(const Orvik_ID& id) {
  std::string text;
  for (const std::uint8_t byte : id.id) {
    std::array<char, 3> digits{};
    std::snprintf(digits.data(), digits.size(), "%02x", byte);
    text += digits.data();
  }
  return text;
}

/// The mark as text, if it is one: printable, and nothing but zeros behind it.
std::optional<std::string> textOf(const Orvik_ID& id) {
  const auto* const end = std::find(std::begin(id.id), std::end(id.id), 0);
  const bool printable = std::all_of(std::begin(id.id), end,
                                     [](std::uint8_t byte) { return byte >= 0x20 && byte < 0x7F; });
  const bool padded =
      std::all_of(end, std::end(id.id), [](std::uint8_t byte) { return byte == 0; });
  if (!printable || !padded) return std::nullopt;
  return std::string(std::begin(id.id), end);
}

void print(const Orvik_ID& id, bool json) {
  const auto text = textOf(id);
  if (json) {
    const Json result = {{"text", text ? Json(*text) : Json()}, {"hex", hexOf(id)}};
    std::cout << result.dump(2) << '\n';
  } else {
    std::cout << text.value_or(hexOf(id)) << '\n';
  }
}

int digitOf(char letter) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  const auto place = kDigits.find(static_cast<char>(std::tolower(letter)));
  return place == std::string_view::npos ? -1 : static_cast<int>(place);
}

Orvik_ID parseHex(const std::string& text) {
  Orvik_ID id{};
  if (text.size() > 2 * kMarkBytes || text.size() % 2 != 0) {
    throw Failure(ExitCode::kUsage, "--hex takes up to 64 hexadecimal digits, two for each byte.");
  }
  for (std::size_t i = 0; i < text.size(); i += 2) {
    const int high = digitOf(text[i]);
    const int low = digitOf(text[i + 1]);
    if (high < 0 || low < 0) {
      throw Failure(ExitCode::kUsage, text + ": --hex takes hexadecimal digits only.");
    }
    id.id[i / 2] = static_cast<std::uint8_t>(high * 16 + low);
  }
  return id;
}

Orvik_ID parseText(const std::string& text) {
  Orvik_ID id{};
  if (text.size() > kMarkBytes) {
    throw Failure(ExitCode::kUsage, "the mark has room for 32 bytes; this one has " +
                                        std::to_string(text.size()) + ".");
  }
  std::copy(text.begin(), text.end(), std::begin(id.id));
  return id;
}

ExitCode get(const CommonOptions& options) {
  const ConnectedCameras cameras(options.virtualCameras);
  const Camera camera(cameras.choose(options.camera));
  Orvik_ID id{};
  const Orvik_ERROR_CODE code = OrvikGetID(camera.handle(), &id);
  if (code == Orvik_ERROR_DRIVER_FAILED) {
    throw Failure(ExitCode::kCameraFailed,
                  "the camera has no mark, or it cannot be read. Give it one with `orvikctl id "
                  "set`.");
  }
  check(code, "reading the mark");
  print(id, options.json);
  return ExitCode::kOk;
}

ExitCode set(const SetOptions& options) {
  const Orvik_ID id = options.isHex ? parseHex(options.text) : parseText(options.text);
  const ConnectedCameras cameras(options.virtualCameras);
  const ConnectedCamera& chosen = cameras.choose(options.camera);
  const Camera camera(chosen);
  requireConsent(options.yes, "The mark in the flash of " + chosen.label() + " will be replaced.");
  check(OrvikSetID(camera.handle(), id), "writing the mark");
  Orvik_ID stored{};
  check(OrvikGetID(camera.handle(), &stored), "reading the mark back");
  if (!std::equal(std::begin(id.id), std::end(id.id), std::begin(stored.id))) {
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
