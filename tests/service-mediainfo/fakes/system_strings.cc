#include "fakes/system_strings.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <set>

namespace {

std::set<BSTR>& Live() {
  static std::set<BSTR> live;
  return live;
}

}  // namespace

namespace fakes {

std::size_t LiveSystemStrings() { return Live().size(); }

BSTR MakeSystemString(const std::optional<std::u16string>& text) {
  return text ? SysAllocStringLen(text->data(), static_cast<std::uint32_t>(text->size())) : nullptr;
}

}  // namespace fakes

// The program's own definitions stand in front of the core library's, also for the module.
BSTR SysAllocStringLen(const char16_t* text, std::uint32_t length) {
  const std::uint32_t size = length * std::uint32_t{sizeof(char16_t)};
  auto* block = static_cast<char*>(std::calloc(sizeof(size) + size + sizeof(char16_t), 1));
  std::memcpy(block, &size, sizeof(size));
  if (text != nullptr) std::memcpy(block + sizeof(size), text, size);
  auto* string = reinterpret_cast<BSTR>(block + sizeof(size));
  Live().insert(string);
  return string;
}

BSTR SysAllocString(const char16_t* text) {
  if (text == nullptr) return nullptr;
  return SysAllocStringLen(text, static_cast<std::uint32_t>(std::u16string_view(text).size()));
}

std::uint32_t SysStringLen(BSTR text) {
  if (text == nullptr) return 0;
  std::uint32_t size = 0;
  std::memcpy(&size, reinterpret_cast<const char*>(text) - sizeof(size), sizeof(size));
  return size / std::uint32_t{sizeof(char16_t)};
}

void SysFreeString(BSTR text) {
  if (text == nullptr) return;
  if (Live().erase(text) == 0) {
    ADD_FAILURE() << "a system string was freed that is not allocated";
    return;
  }
  std::free(reinterpret_cast<char*>(text) - sizeof(std::uint32_t));
}
