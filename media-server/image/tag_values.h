#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

namespace media_server::image {

/// `text` without padding, as valid UTF-8; empty for one that has nothing else.
std::optional<std::string> TextOf(std::string_view text);

/// Degrees of up to three parts: degrees, minutes, seconds. Empty for none and for what is not between 0 and `most`.
std::optional<double> AngleOf(std::span<const double> parts, double most);

/// An exposure time in seconds; empty for what takes no time.
std::optional<double> ExposureOf(double seconds);

/// 'N', 'S', 'E' or 'W' when `text` starts with one of the two of `letters`, in either case.
std::optional<char> HemisphereOf(std::string_view text, std::string_view letters);

/// Sets `field` where it is empty.
template <typename T>
void KeepFirst(std::optional<T>& field, std::optional<T> value) {
  if (!field) field = std::move(value);
}

}  // namespace media_server::image
