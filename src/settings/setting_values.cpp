// SPDX-License-Identifier: MIT
#include "settings/setting_values.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>

namespace orvik::settings {
namespace {

using Json = nlohmann::json;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kNumberBytes = 4;  ///< of the longest number
constexpr std::size_t kDwordBytes = 4;

/// The JSON library reads any depth, but writes recursively and could exhaust the stack. A settings
/// file has three levels.
constexpr int kMaxDepth = 20;

std::optional<Json> parse(std::string_view text) {
  if (text.empty()) return Json::object();
  bool tooDeep = false;
  const auto watch = [&tooDeep](int depth, Json::parse_event_t, const Json&) {
    tooDeep = tooDeep || depth > kMaxDepth;
    return true;
  };
  constexpr bool kThrow = false;
  constexpr bool kIgnoreRemarks = true;
  auto file = Json::parse(text, watch, kThrow, kIgnoreRemarks);
  if (tooDeep || !file.is_object()) return std::nullopt;
  return file;
}

std::optional<Bytes> bytesOfNumber(std::int64_t number, std::size_t count) {
  if (count == 0 || count > kNumberBytes) return std::nullopt;
  const auto bits = static_cast<unsigned>(8 * count);
  // Numbers of four bytes are signed; unsigned ones are accepted as well.
  const std::int64_t min =
      count == kNumberBytes ? std::int64_t{std::numeric_limits<std::int32_t>::min()} : 0;
  if (number < min || number >= std::int64_t{1} << bits) return std::nullopt;
  Bytes bytes(count);
  auto rest = static_cast<std::uint64_t>(number);
  for (std::uint8_t& byte : bytes) {
    byte = static_cast<std::uint8_t>(rest & 0xFFU);
    rest >>= 8U;
  }
  return bytes;
}

std::int64_t numberOf(std::span<const std::uint8_t> bytes) {
  std::uint32_t number = 0;
  for (std::size_t i = bytes.size(); i-- > 0;) number = number << 8U | bytes[i];
  if (bytes.size() == kNumberBytes) return static_cast<std::int32_t>(number);
  return std::int64_t{number};
}

std::optional<Bytes> bytesOfText(const std::string& text, std::optional<std::size_t> count) {
  const std::size_t size = count.value_or(text.size() + 1);
  // The last byte stays 0 and terminates the text.
  if (size > kMaxBytes || text.size() >= size) return std::nullopt;
  Bytes bytes(size);
  std::ranges::copy(text, bytes.begin());
  return bytes;
}

/// The integer in the node, if it fits in a signed 64-bit integer.
std::optional<std::int64_t> integerIn(const Json& node) {
  if (!node.is_number_integer()) return std::nullopt;
  constexpr auto kMax = std::numeric_limits<std::int64_t>::max();
  if (node.is_number_unsigned() && std::cmp_greater(node.get<std::uint64_t>(), kMax)) {
    return std::nullopt;
  }
  return node.get<std::int64_t>();
}

std::optional<Bytes> bytesOfList(const Json& list, std::optional<std::size_t> count) {
  if (list.size() > kMaxBytes || count.value_or(list.size()) != list.size()) return std::nullopt;
  Bytes bytes;
  bytes.reserve(list.size());
  for (const Json& element : list) {
    const auto number = integerIn(element);
    if (!number || *number < 0 || *number > 0xFF) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(*number));
  }
  return bytes;
}

std::optional<Type> typeOf(const Json& entry) {
  const auto type = entry.find("type");
  if (type == entry.end()) return std::nullopt;
  if (*type == "dword") return Type::kDword;
  if (*type == "binary") return Type::kBinary;
  return std::nullopt;
}

std::optional<Bytes> bytesOf(const Json& value, Type type, std::optional<std::size_t> count) {
  const std::size_t usual = type == Type::kDword ? kDwordBytes : 1;
  if (value.is_boolean()) return bytesOfNumber(value.get<bool>() ? 1 : 0, count.value_or(usual));
  if (value.is_string()) return bytesOfText(value.get_ref<const std::string&>(), count);
  if (value.is_array()) return bytesOfList(value, count);
  const auto number = integerIn(value);
  return number ? bytesOfNumber(*number, count.value_or(usual)) : std::nullopt;
}

std::optional<Value> readValue(const std::string& name, const Json& entry) {
  if (!entry.is_object()) return std::nullopt;
  const auto type = typeOf(entry);
  const auto value = entry.find("value");
  if (!type || value == entry.end()) return std::nullopt;

  std::optional<std::size_t> count;
  if (const auto bytes = entry.find("bytes"); bytes != entry.end()) {
    const auto number = integerIn(*bytes);
    if (!number || *number < 0 || std::cmp_greater(*number, kMaxBytes)) return std::nullopt;
    count = static_cast<std::size_t>(*number);
  }
  auto bytes = bytesOf(*value, *type, count);
  if (!bytes) return std::nullopt;
  return Value{name, *type, std::move(*bytes)};
}

/// The text of an object with one member per line, each written by `write`.
template <class Write>
std::string objectText(const Json& object, const char* indent, Write write) {
  std::string text = "{";
  const char* before = "\n";
  for (const auto& [key, value] : object.items()) {
    text.append(before).append(indent).append("  ").append(Json(key).dump()).append(": ");
    text += write(value);
    before = ",\n";
  }
  return text.append("\n").append(indent).append("}");
}

/// The text of the file with one value per line, as a person would write it. The JSON library can
/// only write everything in one line, or every element on a line of its own.
std::string textOf(const Json& file) {
  const auto onALine = [](const Json& value) { return value.dump(); };
  return objectText(file, "",
                    [&](const Json& model) {
                      return model.is_object() ? objectText(model, "  ", onALine) : model.dump();
                    }) +
         "\n";
}

/// The text in the bytes, if it is valid UTF-8 and followed by zeros only; else nothing. A path
/// need not be valid UTF-8.
std::optional<std::string> textIn(std::span<const std::uint8_t> bytes) {
  const auto end = std::ranges::find(bytes, std::uint8_t{0});
  const auto isZero = [](std::uint8_t byte) { return byte == 0; };
  if (end == bytes.end() || !std::all_of(end, bytes.end(), isZero)) return std::nullopt;
  std::string text(bytes.begin(), end);
  try {
    static_cast<void>(Json(text).dump());
  } catch (const Json::type_error&) {
    return std::nullopt;
  }
  return text;
}

Json entryOf(const Value& value) {
  Json entry = {{"type", value.type == Type::kDword ? "dword" : "binary"}};
  const std::size_t size = value.bytes.size();
  const std::size_t usual = value.type == Type::kDword ? kDwordBytes : 1;
  if (size >= 1 && size <= kNumberBytes) {
    if (size != usual) entry["bytes"] = size;
    entry["value"] = numberOf(value.bytes);
  } else if (auto text = textIn(value.bytes)) {
    entry["bytes"] = size;
    entry["value"] = std::move(*text);
  } else {
    entry["value"] = value.bytes;
  }
  return entry;
}

}  // namespace

const Value* find(const Group& group, std::string_view name) {
  const auto found = std::ranges::find(group, name, &Value::name);
  return found == group.end() ? nullptr : &*found;
}

std::optional<Group> readGroup(std::string_view text, const std::string& name) {
  const auto file = parse(text);
  if (!file) return std::nullopt;
  const auto values = file->find(name);
  if (values == file->end() || !values->is_object()) return std::nullopt;
  Group group;
  group.reserve(values->size());
  for (const auto& [key, entry] : values->items()) {
    if (auto value = readValue(key, entry)) group.push_back(std::move(*value));
  }
  return group;
}

std::optional<std::string> withValues(std::string_view text, std::span<const std::string> names,
                                      std::span<const Value> values) {
  auto file = parse(text);
  if (!file) return std::nullopt;
  for (const std::string& name : names) {
    Json& kept = file->emplace(name, Json::object()).first.value();
    // A member that is not an object was not written by this function.
    if (!kept.is_object()) return std::nullopt;
    for (const Value& value : values) kept[value.name] = entryOf(value);
  }
  return textOf(*file);
}

std::optional<std::string> withoutGroups(std::string_view text,
                                         std::span<const std::string> names) {
  auto file = parse(text);
  if (!file) return std::nullopt;
  for (const std::string& name : names) file->erase(name);
  return textOf(*file);
}

}  // namespace orvik::settings
