#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/system_string.h"

namespace fakes {

/// Number of system strings that are allocated and not freed. Freeing one that is not allocated fails the test.
std::size_t LiveSystemStrings();

/// A new system string; null for nullopt.
BSTR MakeSystemString(const std::optional<std::u16string>& text);

}  // namespace fakes
