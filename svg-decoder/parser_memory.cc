#include "svg-decoder/parser_memory.h"

#include <cstdlib>
#include <cstring>

namespace svg_decoder {
namespace {

/// The parser's functions are given no word of ours, so what is left is kept beside them.
thread_local std::size_t bytes_left = 0;
thread_local std::size_t blocks_left = 0;

/// Before each block stands its size.
constexpr std::size_t kHeader = alignof(std::max_align_t);

std::size_t SizeOf(const void* header) {
  std::size_t size = 0;
  std::memcpy(&size, header, sizeof size);
  return size;
}

void* Start(void* block) { return static_cast<char*>(block) - kHeader; }

void* Resize(void* block, std::size_t size) {
  void* header = block ? Start(block) : nullptr;
  const std::size_t old_size = header ? SizeOf(header) : 0;
  if (size > old_size && size - old_size > bytes_left) return nullptr;
  if (!header && blocks_left == 0) return nullptr;
  void* resized = std::realloc(header, kHeader + size);
  if (!resized) return nullptr;
  bytes_left += old_size;
  bytes_left -= size;
  if (!header) --blocks_left;
  std::memcpy(resized, &size, sizeof size);
  return static_cast<char*>(resized) + kHeader;
}

void* Allocate(std::size_t size) { return Resize(nullptr, size); }

void Free(void* block) {
  if (!block) return;
  void* header = Start(block);
  bytes_left += SizeOf(header);
  ++blocks_left;
  std::free(header);
}

constexpr XML_Memory_Handling_Suite kFunctions{Allocate, Resize, Free};

}  // namespace

ParserMemory::ParserMemory(std::size_t most_bytes, std::size_t most_blocks) {
  bytes_left = most_bytes;
  blocks_left = most_blocks;
}
ParserMemory::~ParserMemory() { bytes_left = blocks_left = 0; }
const XML_Memory_Handling_Suite* ParserMemory::functions() const { return &kFunctions; }

}  // namespace svg_decoder
