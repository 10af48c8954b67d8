#include "media-server/metadata/iso6709.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>

namespace media_server {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

/// Takes one signed number off the front of `text`, its sign included; empty when there is none.
std::string_view TakeNumber(std::string_view& text) {
  if (text.empty() || (text[0] != '+' && text[0] != '-')) return {};
  std::size_t end = 1;
  while (end < text.size() && (IsDigit(text[end]) || text[end] == '.')) ++end;
  const std::string_view number = text.substr(0, end);
  text.remove_prefix(end);
  return number;
}

std::optional<double> ParseDouble(std::string_view digits) {
  double value = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc() || end != digits.data() + digits.size()) return std::nullopt;
  return value;
}

/// Degrees of one signed number. `degree_digits` (2 or 3) is how many of its digits are degrees when minutes follow.
/// A number of another width, as of a latitude with three digits of degrees, means a place that cannot be told.
std::optional<double> ParseAngle(std::string_view number, std::size_t degree_digits) {
  const bool negative = number.starts_with('-');
  number.remove_prefix(std::min<std::size_t>(number.size(), 1));
  const std::size_t whole_digits = std::min(number.find('.'), number.size());
  if (whole_digits == 0) return std::nullopt;

  std::optional<double> degrees;
  if (whole_digits <= degree_digits) {
    degrees = ParseDouble(number);
  } else {
    const bool has_seconds = whole_digits == degree_digits + 4;
    if (!has_seconds && whole_digits != degree_digits + 2) return std::nullopt;
    const auto whole = ParseDouble(number.substr(0, degree_digits));
    const auto minutes = ParseDouble(has_seconds ? number.substr(degree_digits, 2) : number.substr(degree_digits));
    const auto seconds = has_seconds ? ParseDouble(number.substr(degree_digits + 2)) : std::optional(0.0);
    if (!whole || !minutes || !seconds || *minutes >= 60 || *seconds >= 60) return std::nullopt;
    degrees = *whole + *minutes / 60 + *seconds / 3600;
  }
  if (!degrees) return std::nullopt;
  return negative ? -*degrees : *degrees;
}

}  // namespace

std::optional<GeoLocation> ParseIso6709(std::string_view text) {
  const auto latitude = ParseAngle(TakeNumber(text), 2);
  const auto longitude = ParseAngle(TakeNumber(text), 3);
  if (!latitude || !longitude || std::abs(*latitude) > 90 || std::abs(*longitude) > 180) return std::nullopt;
  return GeoLocation{*latitude, *longitude};
}

}  // namespace media_server
