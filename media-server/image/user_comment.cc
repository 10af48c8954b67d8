#include "media-server/image/user_comment.h"

#include <nlohmann/json.hpp>
#include <string_view>

#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"

namespace media_server::image {
namespace {

using Bytes = std::span<const std::uint8_t>;

bool IsLabel(std::string_view text) {
  // Few comments are JSON, so most are not parsed.
  if (text.find('{') == text.npos) return false;
  if (text.find("\"AIGC\"") == text.npos && text.find("\"Label\"") == text.npos) return false;
  const auto json = nlohmann::json::parse(text, nullptr, /*allow_exceptions=*/false);
  return json.is_object() && (json.contains("AIGC") || json.contains("Label"));
}

std::optional<std::string> LabelOrNone(std::string text) {
  if (!IsLabel(text)) return std::nullopt;
  return text;
}

}  // namespace

std::optional<std::string> LabelOfUserComment(Bytes comment) {
  constexpr std::size_t kCodeSize = 8;
  constexpr std::string_view kUnicode{"UNICODE\0", kCodeSize};
  if (comment.size() <= kCodeSize) return std::nullopt;
  const Bytes text = comment.subspan(kCodeSize);
  if (AsText(comment.first(kCodeSize)) != kUnicode) return LabelOrNone(TextFromUtf8(text));
  // Writers do not agree on whether the order of the bytes is the file's: an object starts with a brace in one of them.
  auto label = LabelOrNone(TextFromUtf16(text, /*big_endian=*/false));
  return label ? label : LabelOrNone(TextFromUtf16(text, /*big_endian=*/true));
}

}  // namespace media_server::image
