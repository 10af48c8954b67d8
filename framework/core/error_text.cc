#include "core/error_text.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "platform/utf8.h"

namespace {

constexpr std::size_t kCapacity = 256;

/// Zero-initialised plain bytes: a thread that never fails pays nothing for them.
thread_local std::array<char, kCapacity> error_text{};

}  // namespace

void CoreSetErrorText(const char* reason) {
  const std::string_view whole = reason ? std::string_view(reason, strnlen(reason, kCapacity)) : std::string_view();
  const std::size_t length = platform::CutUtf8(whole, kCapacity - 1).size();
  // `reason` may be the very text that CoreErrorText gave.
  if (length > 0) std::memmove(error_text.data(), whole.data(), length);
  error_text[length] = '\0';
}

const char* CoreErrorText() { return error_text.data(); }
