#include "platform/system_string.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

#include "core/error_text.h"

namespace {

/// Length in bytes, stored right before the first unit.
using Prefix = std::uint32_t;

constexpr std::size_t kMaxUnits = std::numeric_limits<Prefix>::max() / sizeof(char16_t);

char* Allocation(BSTR text) { return reinterpret_cast<char*>(text) - sizeof(Prefix); }

Prefix ByteLength(BSTR text) {
  Prefix bytes = 0;
  std::memcpy(&bytes, Allocation(text), sizeof(bytes));
  return bytes;
}

}  // namespace

BSTR SysAllocString(const char16_t* text) {
  if (!text) return nullptr;
  const std::size_t length = std::char_traits<char16_t>::length(text);
  if (length > kMaxUnits) return nullptr;
  return SysAllocStringLen(text, static_cast<std::uint32_t>(length));
}

BSTR SysAllocStringLen(const char16_t* text, std::uint32_t length) {
  if (length > kMaxUnits) return nullptr;
  const std::size_t bytes = std::size_t{length} * sizeof(char16_t);
  constexpr std::size_t kOverhead = sizeof(Prefix) + sizeof(char16_t);
  // Where addresses have 32 bits the sum itself may wrap.
  if (bytes > std::numeric_limits<std::size_t>::max() - kOverhead) return nullptr;

  // Not calloc, which goes past the memory that glibc keeps ready for each thread.
  auto* allocation = static_cast<char*>(std::malloc(bytes + kOverhead));
  if (!allocation) {
    CoreSetErrorText("out of memory");
    return nullptr;
  }
  const auto prefix = static_cast<Prefix>(bytes);
  std::memcpy(allocation, &prefix, sizeof(prefix));
  char* units = allocation + sizeof(prefix);
  if (text) {
    std::memcpy(units, text, bytes);
  } else {
    std::memset(units, 0, bytes);
  }
  std::memset(units + bytes, 0, sizeof(char16_t));
  return reinterpret_cast<BSTR>(units);
}

std::uint32_t SysStringLen(BSTR text) {
  return text ? ByteLength(text) / static_cast<std::uint32_t>(sizeof(char16_t)) : 0;
}

void SysFreeString(BSTR text) {
  if (text) std::free(Allocation(text));
}
