// SPDX-License-Identifier: MIT
#include "tools/simcam/console.h"

#include <algorithm>
#include <sstream>

namespace orvik::simcam {
namespace {

constexpr auto* kHelp =
    "list                       list the cameras, and whether they are imported\n"
    "plug MODEL[,KEY=VALUE...]  plug in a camera\n"
    "unplug BUSID               unplug a camera, whatever it is doing\n"
    "help                       print this list\n"
    "quit                       end the server\n";

std::string quoted(std::string_view text) { return std::string("'").append(text).append("'"); }

}  // namespace

Console::Answer Console::execute(std::string_view line) {
  std::istringstream words{std::string(line)};
  std::string command;
  std::string argument;
  std::string extra;
  words >> command >> argument >> extra;
  if (command.empty()) return {};
  const bool bare = argument.empty();
  if (command == "quit" && bare) return {"", true};
  if (command == "list" && bare) return {list()};
  if (command == "help" && bare) return {kHelp};
  if (command == "plug" && !bare && extra.empty()) {
    const CameraBank::Plugging done = bank_.plug(argument);
    return {(done.busId.empty() ? done.refusal : done.busId + " plugged") + "\n"};
  }
  if (command == "unplug" && !bare && extra.empty()) {
    // The camera first, so that transfers in flight end as they do when a cable is pulled.
    const bool was = bank_.unplug(argument);
    server_.disconnect(argument);
    return {was ? argument + " unplugged\n" : "There is no camera " + quoted(argument) + ".\n"};
  }
  return {quoted(line) + " is no command here; 'help' lists them.\n"};
}

std::string Console::list() {
  const std::vector<std::string> imported = server_.imported();
  std::ostringstream text;
  for (const CameraBank::Line& line : bank_.list()) {
    text << line.busId << "  " << line.model << "  " << line.serial << "  "
         << (line.usb3Port ? "USB 3" : "USB 2")
         << (std::ranges::find(imported, line.busId) != imported.end() ? "  imported" : "") << '\n';
  }
  return text.str();
}

}  // namespace orvik::simcam
