#include "media-server/image/tag_values.h"

#include <cmath>

#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"

namespace media_server::image {

std::optional<std::string> TextOf(std::string_view text) {
  std::string valid = TextFromUtf8(AsBytes(text));
  if (valid.find_first_not_of(" \t\r\n") == valid.npos) return std::nullopt;
  return valid;
}

std::optional<double> AngleOf(std::span<const double> parts, double most) {
  if (parts.empty() || parts.size() > 3) return std::nullopt;
  double degrees = 0;
  double unit = 1;
  for (const double part : parts) {
    if (!(part >= 0)) return std::nullopt;
    degrees += part * unit;
    unit /= 60;
  }
  if (!(degrees <= most)) return std::nullopt;
  return degrees;
}

std::optional<double> ExposureOf(double seconds) {
  if (!std::isfinite(seconds) || seconds <= 0) return std::nullopt;
  return seconds;
}

std::optional<char> HemisphereOf(std::string_view text, std::string_view letters) {
  if (text.empty()) return std::nullopt;
  const char upper = static_cast<char>(text[0] >= 'a' && text[0] <= 'z' ? text[0] - 'a' + 'A' : text[0]);
  if (letters.find(upper) == letters.npos) return std::nullopt;
  return upper;
}

}  // namespace media_server::image
