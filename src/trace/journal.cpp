// SPDX-License-Identifier: MIT
#include "trace/journal.h"

#include <initializer_list>
#include <utility>

#include "trace/words.h"

namespace orvik::trace {
namespace {

constexpr std::size_t kEndBytes = 16;

std::string hex(std::uint64_t value, int digits) {
  std::string text(static_cast<std::size_t>(digits), '0');
  for (auto place = text.rbegin(); place != text.rend(); ++place, value >>= 4U) {
    *place = "0123456789ABCDEF"[value & 0xFU];
  }
  return text;
}

std::string hex(std::span<const std::uint8_t> bytes) {
  std::string text;
  text.reserve(2 * bytes.size());
  for (const std::uint8_t byte : bytes) text.append(hex(byte, 2));
  return text;
}

/// The words, separated by spaces.
std::string lineOf(std::initializer_list<std::string_view> words) {
  std::string line;
  for (const std::string_view word : words) {
    if (!line.empty()) line.push_back(' ');
    line.append(word);
  }
  return line;
}

std::string textOf(const seam::DeviceLocation& location) {
  std::string text = std::to_string(location.bus);
  char separator = '/';
  for (const std::uint8_t port : location.ports) {
    text.push_back(std::exchange(separator, '.'));
    text.append(std::to_string(port));
  }
  if (location.ports.empty()) text.push_back('/');
  text.push_back('/');
  return text.append(std::to_string(location.address));
}

std::string textOf(const Outcome& outcome) {
  return std::string(outcome.refused ? "!" : "").append(wordOf(kStatusWords, outcome.status));
}

std::string textOf(std::span<const std::uint8_t> data, bool whole) {
  if (data.empty()) return "-";
  if (whole || data.size() <= 2 * kEndBytes) return hex(data);
  return hex(data.first(kEndBytes)).append("..").append(hex(data.last(kEndBytes)));
}

}  // namespace

void Journal::write(const std::string& line) {
  const std::lock_guard lock(mutex_);
  std::fputs(line.c_str(), file_);
  std::fputc('\n', file_);
  std::fflush(file_);  // the last lines before a crash are the most important ones
}

std::string Journal::now() const {
  const auto passed = std::chrono::steady_clock::now() - start_;
  return std::to_string(std::chrono::duration_cast<std::chrono::microseconds>(passed).count());
}

void Journal::device(const seam::DeviceInfo& device) {
  const std::string line = lineOf(
      {"device", textOf(device.location), hex(device.vendorId, 4), hex(device.productId, 4)});
  {
    const std::lock_guard lock(mutex_);
    if (!listed_.insert(line).second) return;
  }
  write(line);
}

void Journal::open(std::uint32_t id, const seam::DeviceLocation& location, const seam::Port* port) {
  write(lineOf({"open", std::to_string(id), textOf(location),
                port == nullptr ? "refused" : wordOf(kSpeedWords, port->speed())}));
}

void Journal::claim(std::uint32_t id, std::uint8_t interface, bool ok) {
  write(lineOf({"claim", std::to_string(id), std::to_string(interface), ok ? "ok" : "refused"}));
}

void Journal::control(std::uint32_t id, const ControlEvent& event) {
  const seam::SetupPacket& setup = event.setup;
  write(lineOf({"control", std::to_string(id), now(), hex(setup.requestType, 2),
                hex(setup.request, 2), hex(setup.value, 4), hex(setup.index, 4),
                std::to_string(event.length), textOf(event.outcome), textOf(event.data, true)}));
}

void Journal::bulk(std::uint32_t id, const BulkEvent& event, std::span<const std::uint8_t> data,
                   bool whole) {
  write(lineOf({"bulk", std::to_string(id), now(), hex(event.endpoint, 2),
                std::to_string(event.length), textOf(event.outcome), std::to_string(data.size()),
                hex(hashOf(data), 16), textOf(data, whole)}));
}

void Journal::other(std::string_view kind, std::uint32_t id, std::string_view rest) {
  write(lineOf({kind, std::to_string(id), rest}));
}

}  // namespace orvik::trace
