#pragma once

#include <expat.h>

#include <cstddef>

namespace svg_decoder {

/// While it lives, the parser that is made with `functions()` gets at most `most_bytes` in at most `most_blocks` blocks
/// on this thread; past them its allocations fail. One at a time on a thread.
class ParserMemory {
 public:
  ParserMemory(std::size_t most_bytes, std::size_t most_blocks);
  ~ParserMemory();
  ParserMemory(const ParserMemory&) = delete;
  ParserMemory& operator=(const ParserMemory&) = delete;

  const XML_Memory_Handling_Suite* functions() const;
};

}  // namespace svg_decoder
