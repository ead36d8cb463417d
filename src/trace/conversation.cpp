// SPDX-License-Identifier: MIT
#include "trace/conversation.h"

#include <algorithm>
#include <charconv>
#include <map>
#include <system_error>
#include <utility>

#include "trace/words.h"

namespace orvik::trace {
namespace {

using Words = std::vector<std::string_view>;

constexpr std::string_view kTitle = "orvik-conversation 1";
/// More than the longest read of any camera, and a limit for the memory that a file can claim.
constexpr std::size_t kLongestRead = std::size_t{64} << 20U;
constexpr std::size_t kMostPorts = 7;  ///< longest chain of hubs in USB

Words wordsOf(std::string_view line) {
  Words words;
  while (!line.empty()) {
    const std::size_t end = std::min(line.find(' '), line.size());
    if (end > 0) words.push_back(line.substr(0, end));
    line.remove_prefix(std::min(end + 1, line.size()));
  }
  return words;
}

template <typename T>
bool readNumber(std::string_view word, T& value, int base = 10) {
  const char* const end = word.data() + word.size();
  const auto [stopped, error] = std::from_chars(word.data(), end, value, base);
  return error == std::errc{} && stopped == end;
}

bool readBytes(std::string_view word, std::vector<std::uint8_t>& bytes) {
  bytes.clear();
  if (word == "-") return true;
  if (word.size() % 2 != 0) return false;
  bytes.resize(word.size() / 2);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    if (!readNumber(word.substr(2 * i, 2), bytes[i], 16)) return false;
  }
  return true;
}

/// Reads "BUS/PORT.PORT/ADDRESS".
bool readLocation(std::string_view word, seam::DeviceLocation& location) {
  const std::size_t first = word.find('/');
  const std::size_t last = word.rfind('/');
  if (first == std::string_view::npos || first == last) return false;
  std::string_view ports = word.substr(first + 1, last - first - 1);
  while (!ports.empty() && location.ports.size() < kMostPorts) {
    const std::size_t end = std::min(ports.find('.'), ports.size());
    std::uint8_t port = 0;
    if (!readNumber(ports.substr(0, end), port)) return false;
    location.ports.push_back(port);
    ports.remove_prefix(std::min(end + 1, ports.size()));
  }
  return ports.empty() && readNumber(word.substr(0, first), location.bus) &&
         readNumber(word.substr(last + 1), location.address);
}

bool readOutcome(std::string_view word, Outcome& outcome) {
  outcome.refused = word.starts_with('!');
  return valueOf(kStatusWords, word.substr(outcome.refused ? 1 : 0), outcome.status);
}

class Reader {
 public:
  explicit Reader(Conversation& conversation) : conversation_(conversation) {}

  /// @return whether the line is valid.
  bool take(std::size_t number, const Words& words) {
    line_ = number;
    const std::string_view kind = words.front();
    if (kind == "device") return takeDevice(words);
    if (kind == "open") return takeOpen(words);
    std::uint32_t id = 0;
    if (words.size() < 2 || !readNumber(words[1], id)) return false;
    const auto found = byId_.find(id);
    if (found == byId_.end()) return false;
    Opening& opening = conversation_.openings[found->second];
    if (kind == "control") return takeControl(words, opening);
    if (kind == "bulk") return takeBulk(words, opening);
    if (kind == "claim" && words.size() == 4) {
      opening.claimed = words[3] == "ok";
      return *opening.claimed || words[3] == "refused";
    }
    return kind == "clear" || kind == "reset" || kind == "close";
  }

 private:
  bool takeDevice(const Words& words) {
    seam::DeviceInfo device;
    if (words.size() != 4 || !readLocation(words[1], device.location) ||
        !readNumber(words[2], device.vendorId, 16) || !readNumber(words[3], device.productId, 16)) {
      return false;
    }
    const bool known = std::ranges::any_of(conversation_.devices, [&](const auto& other) {
      return other.location == device.location;
    });
    if (!known) conversation_.devices.push_back(device);
    return true;
  }

  bool takeOpen(const Words& words) {
    std::uint32_t id = 0;
    Opening opening;
    if (words.size() != 4 || !readNumber(words[1], id) ||
        !readLocation(words[2], opening.location)) {
      return false;
    }
    opening.opened = words[3] != "refused";
    if (opening.opened && !valueOf(kSpeedWords, words[3], opening.speed)) return false;
    byId_[id] = conversation_.openings.size();
    conversation_.openings.push_back(std::move(opening));
    return true;
  }

  // control ID MICROSECONDS TYPE REQUEST VALUE INDEX LENGTH OUTCOME DATA
  bool takeControl(const Words& words, Opening& opening) const {
    ControlEvent event;
    event.line = line_;
    if (words.size() != 10 || !readNumber(words[3], event.setup.requestType, 16) ||
        !readNumber(words[4], event.setup.request, 16) ||
        !readNumber(words[5], event.setup.value, 16) ||
        !readNumber(words[6], event.setup.index, 16) || !readNumber(words[7], event.length) ||
        !readOutcome(words[8], event.outcome) || !readBytes(words[9], event.data) ||
        event.data.size() > event.length) {
      return false;
    }
    opening.controls.push_back(std::move(event));
    return true;
  }

  // bulk ID MICROSECONDS ENDPOINT LENGTH OUTCOME BYTES HASH DATA
  bool takeBulk(const Words& words, Opening& opening) const {
    BulkEvent event;
    event.line = line_;
    if (words.size() != 9 || !readNumber(words[3], event.endpoint, 16) ||
        !readNumber(words[4], event.length) || !readOutcome(words[5], event.outcome) ||
        !readNumber(words[6], event.bytes) || !readNumber(words[7], event.hash, 16) ||
        event.length > kLongestRead || event.bytes > event.length) {
      return false;
    }
    const std::size_t dots = words[8].find("..");
    const bool cut = dots != std::string_view::npos;
    if (!readBytes(words[8].substr(0, dots), event.head) ||
        (cut && !readBytes(words[8].substr(dots + 2), event.tail))) {
      return false;
    }
    const std::size_t given = event.head.size() + event.tail.size();
    if (cut ? given > event.bytes : given != event.bytes) return false;
    opening.bulks.push_back(std::move(event));
    return true;
  }

  Conversation& conversation_;
  std::map<std::uint32_t, std::size_t> byId_;
  std::size_t line_ = 0;
};

}  // namespace

std::string readConversation(std::string_view text, Conversation& conversation) {
  conversation = {};
  Reader reader(conversation);
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos) break;  // an incomplete last line
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end + 1);
    if (number == 1) {
      if (line != kTitle) return "Line 1: this is no recording of a conversation.";
      continue;
    }
    const Words words = wordsOf(line.substr(0, line.find('#')));
    if (!words.empty() && !reader.take(number, words)) {
      return "Line " + std::to_string(number) + ": it cannot be understood.";
    }
  }
  return {};
}

}  // namespace orvik::trace
