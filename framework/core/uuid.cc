#include "core/uuid.h"

#include <cstddef>
#include <cstring>
#include <optional>

namespace core {
namespace {

constexpr std::size_t kTextLength = 36;
constexpr char kHyphen = '-';

constexpr bool IsHyphenPlace(std::size_t index) { return index == 8 || index == 13 || index == 18 || index == 23; }

std::optional<unsigned> DigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return static_cast<unsigned>(digit - '0');
  if (digit >= 'A' && digit <= 'F') return static_cast<unsigned>(digit - 'A' + 10);
  if (digit >= 'a' && digit <= 'f') return static_cast<unsigned>(digit - 'a' + 10);
  return std::nullopt;
}

}  // namespace

bool Uuid::FromString(const char* text) {
  if (!text || strnlen(text, kTextLength + 1) != kTextLength) return false;

  std::array<std::uint8_t, 16> bytes{};
  std::size_t digits = 0;
  for (std::size_t index = 0; index < kTextLength; ++index) {
    if (IsHyphenPlace(index)) {
      if (text[index] != kHyphen) return false;
      continue;
    }
    const std::optional<unsigned> value = DigitValue(text[index]);
    if (!value) return false;
    std::uint8_t& byte = bytes[digits++ / 2];
    byte = static_cast<std::uint8_t>((byte << 4) | *value);
  }
  bytes_ = bytes;
  return true;
}

std::string Uuid::ToString() const {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(kTextLength);
  for (const std::uint8_t byte : bytes_) {
    if (IsHyphenPlace(text.size())) text += kHyphen;
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

}  // namespace core
