#include "svg-decoder/length.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

namespace svg_decoder {
namespace {

constexpr std::string_view kBlanks = " \t\r\n\f";
constexpr double kPixelsPerInch = 96;
constexpr double kCentimetresPerInch = 2.54;

struct Unit {
  std::string_view name;
  double pixels;
};

constexpr std::array<Unit, 8> kAbsoluteUnits{{
    {"", 1},
    {"px", 1},
    {"in", kPixelsPerInch},
    {"cm", kPixelsPerInch / kCentimetresPerInch},
    {"mm", kPixelsPerInch / (kCentimetresPerInch * 10)},
    {"q", kPixelsPerInch / (kCentimetresPerInch * 40)},
    {"pt", kPixelsPerInch / 72},
    {"pc", kPixelsPerInch / 6},
}};

struct FontUnit {
  std::string_view name;
  double font_sizes;
};

constexpr std::array<FontUnit, 4> kFontUnits{{{"em", 1}, {"rem", 1}, {"ex", 0.5}, {"ch", 0.5}}};

constexpr char ToLower(char letter) {
  return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool EqualsIgnoringCase(std::string_view text, std::string_view lower) {
  return std::ranges::equal(text, lower, {}, ToLower);
}

std::string_view Trim(std::string_view text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// CSS has a digit behind every point.
bool StartsNumber(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789";
  const std::size_t whole_digits = std::min(text.find_first_not_of(kDigits), text.size());
  text.remove_prefix(whole_digits);
  if (!text.starts_with('.')) return whole_digits > 0;
  return text.size() > 1 && kDigits.find(text[1]) != std::string_view::npos;
}

/// Takes a number off the front of `text`.
std::optional<double> TakeNumber(std::string_view& text) {
  // The conversion knows no plus sign, but "inf", "nan" and "5.", which CSS does not.
  std::string_view digits = text;
  const bool is_negative = digits.starts_with('-');
  if (is_negative || digits.starts_with('+')) digits.remove_prefix(1);
  if (!StartsNumber(digits)) return std::nullopt;

  double number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc()) return std::nullopt;
  text = digits.substr(static_cast<std::size_t>(end - digits.data()));
  return is_negative ? -number : number;
}

std::optional<double> PixelsPerUnit(std::string_view name, double font_size_px) {
  for (const Unit& unit : kAbsoluteUnits) {
    if (EqualsIgnoringCase(name, unit.name)) return unit.pixels;
  }
  for (const FontUnit& unit : kFontUnits) {
    if (EqualsIgnoringCase(name, unit.name)) return unit.font_sizes * font_size_px;
  }
  return std::nullopt;
}

/// The four numbers stand apart by blanks, a comma, or both.
void SkipSeparator(std::string_view& text) {
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  if (!text.starts_with(',')) return;
  text.remove_prefix(1);
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
}

}  // namespace

std::optional<double> ToPixels(std::string_view text, double font_size_px) {
  text = Trim(text);
  const std::optional<double> number = TakeNumber(text);
  if (!number || *number < 0) return std::nullopt;
  const std::optional<double> pixels = PixelsPerUnit(text, font_size_px);
  return pixels ? std::optional(*number * *pixels) : std::nullopt;
}

std::optional<ViewBox> ParseViewBox(std::string_view text) {
  text = Trim(text);
  std::array<double, 4> numbers{};  // x, y, width, height
  for (double& number : numbers) {
    const std::optional<double> taken = TakeNumber(text);
    if (!taken) return std::nullopt;
    number = *taken;
    if (&number != &numbers.back()) SkipSeparator(text);
  }
  if (!text.empty() || !(numbers[2] > 0) || !(numbers[3] > 0)) return std::nullopt;
  return ViewBox{numbers[2], numbers[3]};
}

}  // namespace svg_decoder
