// SPDX-License-Identifier: MIT
#include "camera/settings/setting_values.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <utility>

// The parser is compiled into this file alone. Without exceptions it answers with its error.
#define TOML_HEADER_ONLY 1
#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

namespace orvik::settings {
namespace {

constexpr std::string_view kHeading =
    "# Settings of Orvik cameras, one table for each model. A camera comes up with them.\n"
    "# Written when a capture ends. Values may be edited while no camera is open;\n"
    "# remarks of one's own are not kept.\n";

constexpr std::size_t kNumberBytes = 4;  ///< the most that a number has
constexpr std::size_t kDwordBytes = 4;

using Bytes = std::vector<std::uint8_t>;

std::optional<Bytes> bytesOfNumber(std::int64_t number, std::size_t count) {
  if (count == 0 || count > kNumberBytes) return std::nullopt;
  const auto bits = static_cast<unsigned>(8 * count);
  // Four bytes are signed; whoever writes them unsigned is understood as well.
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
  // The last byte stays a zero: it ends the text.
  if (size > kMaxBytes || text.size() >= size) return std::nullopt;
  Bytes bytes(size);
  std::ranges::copy(text, bytes.begin());
  return bytes;
}

std::optional<Bytes> bytesOfList(const toml::array& list, std::optional<std::size_t> count) {
  if (list.size() > kMaxBytes || count.value_or(list.size()) != list.size()) return std::nullopt;
  Bytes bytes;
  bytes.reserve(list.size());
  for (const toml::node& element : list) {
    const auto number = element.value_exact<std::int64_t>();
    if (!number || *number < 0 || *number > 0xFF) return std::nullopt;
    bytes.push_back(static_cast<std::uint8_t>(*number));
  }
  return bytes;
}

std::optional<Type> typeOf(const toml::table& entry) {
  const auto name = entry["type"].value_exact<std::string_view>();
  if (name == "dword") return Type::kDword;
  if (name == "binary") return Type::kBinary;
  return std::nullopt;
}

std::optional<Value> readValue(std::string_view name, const toml::node& node) {
  const toml::table* entry = node.as_table();
  if (entry == nullptr) return std::nullopt;
  const auto type = typeOf(*entry);
  if (!type) return std::nullopt;

  std::optional<std::size_t> count;
  if (const toml::node* bytes = entry->get("bytes")) {
    const auto number = bytes->value_exact<std::int64_t>();
    if (!number || *number < 0 || std::cmp_greater(*number, kMaxBytes)) return std::nullopt;
    count = static_cast<std::size_t>(*number);
  }

  std::optional<Bytes> bytes;
  const auto value = (*entry)["value"];
  if (const auto number = value.value_exact<std::int64_t>()) {
    bytes = bytesOfNumber(*number, count.value_or(*type == Type::kDword ? kDwordBytes : 1));
  } else if (const auto flag = value.value_exact<bool>()) {
    bytes = bytesOfNumber(*flag ? 1 : 0, count.value_or(*type == Type::kDword ? kDwordBytes : 1));
  } else if (const auto text = value.value_exact<std::string>()) {
    bytes = bytesOfText(*text, count);
  } else if (const toml::array* list = value.as_array()) {
    bytes = bytesOfList(*list, count);
  }
  if (!bytes) return std::nullopt;
  return Value{std::string(name), *type, std::move(*bytes)};
}

/// The text that the bytes are, with nothing but zeros after it; none for other bytes. A path need
/// not be valid UTF-8, and then it is no text.
std::optional<std::string> textOf(std::span<const std::uint8_t> bytes) {
  const auto end = std::ranges::find(bytes, std::uint8_t{0});
  const auto isZero = [](std::uint8_t byte) { return byte == 0; };
  if (end == bytes.end() || !std::all_of(end, bytes.end(), isZero)) return std::nullopt;
  std::string text(bytes.begin(), end);
  // Whether it is text decides the parser that is to read it again.
  toml::table trial;
  trial.insert("value", text);
  std::ostringstream written;
  written << trial;
  const toml::parse_result read = toml::parse(written.view());
  if (!read || read["value"].value_exact<std::string>() != text) return std::nullopt;
  return text;
}

toml::table entryOf(const Value& value) {
  toml::table entry;
  entry.is_inline(true);
  entry.insert("type", value.type == Type::kDword ? "dword" : "binary");
  const std::size_t size = value.bytes.size();
  const std::size_t usual = value.type == Type::kDword ? kDwordBytes : 1;
  if (size >= 1 && size <= kNumberBytes) {
    if (size != usual) entry.insert("bytes", static_cast<std::int64_t>(size));
    entry.insert("value", numberOf(value.bytes));
    return entry;
  }
  if (const auto text = textOf(value.bytes)) {
    entry.insert("bytes", static_cast<std::int64_t>(size));
    entry.insert("value", *text);
    return entry;
  }
  toml::array list;
  for (const std::uint8_t byte : value.bytes) list.push_back(std::int64_t{byte});
  entry.insert("value", std::move(list));
  return entry;
}

}  // namespace

const Value* find(const Group& group, std::string_view name) {
  const auto found = std::ranges::find(group, name, &Value::name);
  return found == group.end() ? nullptr : &*found;
}

std::optional<Group> readGroup(std::string_view text, std::string_view model) {
  const toml::parse_result file = toml::parse(text);
  if (!file) return std::nullopt;
  const toml::table* table = file[model].as_table();
  if (table == nullptr) return std::nullopt;
  Group group;
  group.reserve(table->size());
  for (const auto& [name, node] : *table) {
    if (auto value = readValue(name.str(), node)) group.push_back(std::move(*value));
  }
  return group;
}

std::optional<std::string> withValues(std::string_view text, std::string_view model,
                                      std::span<const Value> values) {
  toml::parse_result file = toml::parse(text);
  if (!file) return std::nullopt;
  // What is no table under a model's name is nothing that could have been written here.
  if (file.table().contains(model) && !file[model].is_table()) return std::nullopt;
  toml::table& table = *file.table().insert(model, toml::table{}).first->second.as_table();
  for (const Value& value : values) table.insert_or_assign(value.name, entryOf(value));
  std::ostringstream written;
  written << kHeading << '\n' << file.table() << '\n';
  return std::move(written).str();
}

}  // namespace orvik::settings
