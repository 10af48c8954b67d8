#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>

namespace module_check {

/// A promise that is broken, told by a check. Not derived from std::exception, so that no module throws it.
struct Fault {
  std::string text;
};

/// The module has nothing that the check is about.
struct NotApplicable {};

inline void Demand(bool holds, const std::string& otherwise) {
  if (!holds) throw Fault{otherwise};
}

/// How a value is shown: numbers in decimals, texts in quotes, pointers as null or not.
template <typename T>
std::string Shown(const T& value) {
  if constexpr (std::is_same_v<T, bool>) {
    return value ? "true" : "false";
  } else if constexpr (std::is_arithmetic_v<T>) {
    return std::to_string(value);
  } else if constexpr (std::is_convertible_v<T, const char*>) {
    const char* text = value;
    return text == nullptr ? "null" : '"' + std::string(text) + '"';
  } else if constexpr (std::is_convertible_v<T, std::string_view>) {
    return '"' + std::string(value) + '"';
  } else {
    return value == nullptr ? "null" : "a pointer";
  }
}

/// Texts are compared as texts; pass std::string_view or std::string for them.
template <typename Found, typename Expected>
void DemandEqual(const Found& found, const Expected& expected, const std::string& what) {
  if (found == static_cast<Found>(expected)) return;
  throw Fault{what + " is " + Shown(found) + " instead of " + Shown(static_cast<Found>(expected))};
}

/// A text that may be null, as interfaces give it.
inline void DemandText(const char* found, std::string_view expected, const std::string& what) {
  if (found != nullptr && found == expected) return;
  throw Fault{what + " is " + Shown(found) + " instead of " + Shown(expected)};
}

/// What out arguments hold before a call that must leave them alone.
inline constexpr std::uint32_t kUntouched = 0xA5A5'5A5A;

}  // namespace module_check
