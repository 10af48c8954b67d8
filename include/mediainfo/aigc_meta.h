#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <utility>

namespace service::mediainfo::metedata_keys {

/// Record that marks AI-generated content: the label's text as the file holds it, usually JSON. Owns its text, which
/// comes from the C allocator. A record with a text but length 0 copies to an empty one.
struct AIGC_META {
  char* text = nullptr;      ///< NUL-terminated; null when absent
  std::uint32_t length = 0;  ///< characters in text without the terminator

  AIGC_META() = default;
  AIGC_META(const AIGC_META& other) {
    if (other.text == nullptr || other.length == 0) return;
    const std::size_t size = std::size_t{other.length} + 1;
    text = static_cast<char*>(std::calloc(size, 1));
    if (text == nullptr) throw std::bad_alloc();
    length = other.length;
    std::strncpy(text, other.text, length);
  }
  AIGC_META(AIGC_META&& other)
  noexcept : text(std::exchange(other.text, nullptr)), length(std::exchange(other.length, 0)) {}
  AIGC_META& operator=(const AIGC_META& other) {
    if (this != &other) *this = AIGC_META(other);
    return *this;
  }
  AIGC_META& operator=(AIGC_META&& other) noexcept {
    std::swap(text, other.text);
    std::swap(length, other.length);
    return *this;
  }
  ~AIGC_META() { Clear(); }

  void Clear() {
    std::free(std::exchange(text, nullptr));
    length = 0;
  }
};

}  // namespace service::mediainfo::metedata_keys
