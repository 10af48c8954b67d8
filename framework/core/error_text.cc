#include "core/error_text.h"

#include <array>
#include <cstddef>
#include <cstring>

namespace {

constexpr std::size_t kCapacity = 256;

/// Zero-initialised plain bytes: a thread that never fails pays nothing for them.
thread_local std::array<char, kCapacity> error_text{};

constexpr bool IsContinuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; }

/// Number of bytes of `text` that fit, without cutting a UTF-8 character in two.
std::size_t FittingLength(const char* text) {
  std::size_t length = strnlen(text, kCapacity);
  if (length < kCapacity) return length;
  length = kCapacity - 1;
  while (length > 0 && IsContinuation(text[length])) --length;
  return length;
}

}  // namespace

void CoreSetErrorText(const char* reason) {
  const std::size_t length = reason ? FittingLength(reason) : 0;
  // `reason` may be the very text that CoreErrorText gave.
  if (length > 0) std::memmove(error_text.data(), reason, length);
  error_text[length] = '\0';
}

const char* CoreErrorText() { return error_text.data(); }
