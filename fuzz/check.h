#pragma once

#include <utf8.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// Ends the process with the place and the words of `condition` when that does not hold: a finding.
#define FUZZ_CHECK(condition)                                                      \
  do {                                                                             \
    if (!(condition)) {                                                            \
      std::fprintf(stderr, "%s:%d: not so: %s\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                \
    }                                                                              \
  } while (false)

namespace fuzz {

inline bool IsUtf8(std::string_view text) { return utf8::is_valid(text.begin(), text.end()); }

/// Whether `text` is valid UTF-8 and no longer than what was made of `most_bytes` bytes of a file: one that is no text
/// becomes the three of U+FFFD, and one of Latin-1 two.
inline bool IsTextOf(std::string_view text, std::size_t most_bytes) {
  return text.size() <= 3 * most_bytes && IsUtf8(text);
}

}  // namespace fuzz
