// SPDX-License-Identifier: MIT
#include "camera/settings/setting_values.h"

#include <algorithm>
#include <limits>
#include <sstream>
#include <utility>

#include "camera/settings/toml_guard.h"

namespace {

/// The parser was about to go on from something that it takes for impossible.
struct ParserAtALoss {};

[[noreturn]] void giveUpParsing() { throw ParserAtALoss(); }

}  // namespace

// The parser is compiled into this file alone. Some malformed files break its assumptions ("[" and
// a zero byte): they are checked in every build, and end the parsing as any other error does.
#undef NDEBUG
#define TOML_ASSERT(assumption)         \
  do {                                  \
    if (!(assumption)) giveUpParsing(); \
  } while (false)
#define TOML_HEADER_ONLY 1
#define TOML_EXCEPTIONS 1
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

std::optional<toml::table> parse(std::string_view text) {
  if (!isSafeToParse(text)) return std::nullopt;
  try {
    return toml::parse(text);
  } catch (const toml::parse_error&) {
    return std::nullopt;
  } catch (const ParserAtALoss&) {
    return std::nullopt;
  }
}

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

// The library's own way of writing a whole table computes the width of what it writes, which fails
// for numbers without a width (NaN, 0.001). So the file is written here, one value a line; single
// values the library writes.

void writeKey(std::ostream& out, std::string_view key) {
  const auto isBare = [](char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
           (letter >= '0' && letter <= '9') || letter == '_' || letter == '-';
  };
  if (!key.empty() && std::ranges::all_of(key, isBare)) {
    out << key;
  } else {
    const toml::value<std::string> quoted{std::string(key)};
    out << toml::toml_formatter(quoted, toml::format_flags::none);
  }
}

void writeNode(std::ostream& out, const toml::node& node) {
  const char* between = " ";
  if (const toml::table* table = node.as_table()) {
    out << '{';
    for (const auto& [key, value] : *table) {
      out << std::exchange(between, ", ");
      writeKey(out, key.str());
      out << " = ";
      writeNode(out, value);
    }
    out << " }";
  } else if (const toml::array* array = node.as_array()) {
    out << '[';
    for (const toml::node& element : *array) {
      out << std::exchange(between, ", ");
      writeNode(out, element);
    }
    out << " ]";
  } else {
    out << toml::toml_formatter(node);
  }
}

void writeLine(std::ostream& out, std::string_view key, const toml::node& value) {
  writeKey(out, key);
  out << " = ";
  writeNode(out, value);
  out << '\n';
}

std::string textOf(const toml::table& file) {
  std::ostringstream out;
  out << kHeading;
  for (const auto& [key, value] : file) {
    if (!value.is_table()) writeLine(out, key.str(), value);
  }
  for (const auto& [key, value] : file) {
    if (!value.is_table()) continue;
    out << "\n[";
    writeKey(out, key.str());
    out << "]\n";
    for (const auto& [name, entry] : *value.as_table()) writeLine(out, name.str(), entry);
  }
  return std::move(out).str();
}

/// The text that the bytes are, with nothing but zeros after it; none for other bytes. A path need
/// not be valid UTF-8, and then it is no text.
std::optional<std::string> textIn(std::span<const std::uint8_t> bytes) {
  const auto end = std::ranges::find(bytes, std::uint8_t{0});
  const auto isZero = [](std::uint8_t byte) { return byte == 0; };
  if (end == bytes.end() || !std::all_of(end, bytes.end(), isZero)) return std::nullopt;
  std::string text(bytes.begin(), end);
  // Whether it is text decides the parser that is to read it again.
  const auto read = parse(textOf(toml::table{{"value", text}}));
  if (!read || (*read)["value"].value_exact<std::string>() != text) return std::nullopt;
  return text;
}

toml::table entryOf(const Value& value) {
  toml::table entry;
  entry.insert("type", value.type == Type::kDword ? "dword" : "binary");
  const std::size_t size = value.bytes.size();
  const std::size_t usual = value.type == Type::kDword ? kDwordBytes : 1;
  if (size >= 1 && size <= kNumberBytes) {
    if (size != usual) entry.insert("bytes", static_cast<std::int64_t>(size));
    entry.insert("value", numberOf(value.bytes));
    return entry;
  }
  if (const auto text = textIn(value.bytes)) {
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
  const auto file = parse(text);
  if (!file) return std::nullopt;
  const toml::table* table = (*file)[model].as_table();
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
  auto file = parse(text);
  if (!file) return std::nullopt;
  // What is no table under a model's name is nothing that could have been written here.
  if (file->contains(model) && !(*file)[model].is_table()) return std::nullopt;
  toml::table& table = *file->insert(model, toml::table{}).first->second.as_table();
  for (const Value& value : values) table.insert_or_assign(value.name, entryOf(value));
  std::string written = textOf(*file);
  // A foreign file may hold what cannot be written in this form, such as tables too deep.
  if (!parse(written)) return std::nullopt;
  return written;
}

}  // namespace orvik::settings
