#pragma once

#include <string>
#include <string_view>

#include "tests/media-server/container/memory_source.h"

namespace media_server {

/// A gzip member that holds `text` in one stored block; its check sum is not filled in.
inline std::string GzipStored(std::string_view text) {
  using namespace std::string_literals;
  return "\x1f\x8b\x08\0"s                 // magic, deflate, flags
         + Zeros(4) + "\0\xff"s            // time, extra flags, unknown system
         + "\x01"s                         // last block, stored
         + Le(text.size(), 2)              // length
         + Le(~text.size() & 0xFFFF, 2)    // its complement
         + std::string(text)               //
         + Zeros(4) + Le(text.size(), 4);  // check sum, length
}

}  // namespace media_server
