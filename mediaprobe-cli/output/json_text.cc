#include "output/json_text.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <cstdio>
#include <optional>
#include <string_view>
#include <utility>

#include "output/utf8_character.h"
#include "platform/hidden_text.h"

namespace mediaprobe {
namespace {

using Json = nlohmann::ordered_json;

constexpr unsigned kIndent = 2;

/// JSON has to escape C0 only; the record is read on terminals, too.
std::string WithoutHidden(std::string json) {
  const auto is_shown = [](char c) { return static_cast<unsigned char>(c) < 0x7F; };
  std::string shown;
  std::string_view rest = json;  // what is not in `shown` yet
  for (std::size_t at = 0; at < rest.size();) {
    if (is_shown(rest[at])) {
      ++at;
      continue;
    }
    const Utf8Character next = FirstCharacter(rest.substr(at));
    at += next.size;
    if (!platform::IsHidden(next.code)) continue;
    std::array<char, 8> escape;
    std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(next.code));
    shown.append(rest.substr(0, at - next.size)).append(escape.data());
    rest.remove_prefix(at);
    at = 0;
  }
  if (shown.empty()) return json;
  return shown.append(rest);
}

class Serializer {
 public:
  /// No `level`: everything on one line.
  explicit Serializer(std::optional<unsigned> level) : level_(level) {}

  void Append(const Json& value) {
    if (value.is_object()) return AppendObject(value);
    if (value.is_array()) return AppendArray(value);
    if (value.is_number_float()) return AppendNumber(value.get<double>());
    AppendScalar(value);
  }
  std::string Take() { return std::move(text_); }

 private:
  void AppendScalar(const Json& value) {
    text_ += WithoutHidden(
        value.dump(/*indent=*/-1, /*indent_char=*/' ', /*ensure_ascii=*/false, Json::error_handler_t::replace));
  }

  void AppendNumber(double number) {
    std::array<char, 32> digits;
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number).ptr;
    text_.append(digits.data(), end);
  }

  void AppendObject(const Json& object) {
    text_ += '{';
    Enter();
    bool first = true;
    for (const auto& [key, value] : object.items()) {
      Separate(first);
      AppendScalar(key);
      text_ += level_ ? ": " : ":";
      Append(value);
      first = false;
    }
    Leave(object.empty());
    text_ += '}';
  }

  void AppendArray(const Json& array) {
    text_ += '[';
    Enter();
    bool first = true;
    for (const Json& value : array) {
      Separate(first);
      Append(value);
      first = false;
    }
    Leave(array.empty());
    text_ += ']';
  }

  void Enter() {
    if (level_) ++*level_;
  }
  void Leave(bool empty) {
    if (!level_) return;
    --*level_;
    if (!empty) BreakLine();
  }
  void Separate(bool first) {
    if (!first) text_ += ',';
    if (level_) BreakLine();
  }
  void BreakLine() {
    text_ += '\n';
    text_.append(*level_ * kIndent, ' ');
  }

  std::optional<unsigned> level_;
  std::string text_;
};

std::string Serialized(const Json& value, std::optional<unsigned> level) {
  Serializer serializer(level);
  serializer.Append(value);
  return serializer.Take();
}

}  // namespace

std::string CompactJson(const Json& value) { return Serialized(value, std::nullopt); }
std::string IndentedJson(const Json& value, unsigned level) { return Serialized(value, level); }

}  // namespace mediaprobe
