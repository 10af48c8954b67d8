#include "service-mediainfo/metadata/c_buffer.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

#include "service-mediainfo/metadata/metadata_store.h"

namespace service::mediainfo {
namespace {

constexpr std::size_t kSize = 40;

std::string_view Bytes(const CBuffer& buffer) { return {static_cast<const char*>(buffer.get()), kSize}; }

/// Leaves memory of the buffers' size behind that is anything but zero.
void SoilMemory() {
  // Volatile, or the compiler leaves out what nobody reads.
  auto* const memory = static_cast<volatile char*>(std::malloc(kSize));
  for (std::size_t at = 0; at < kSize; ++at) memory[at] = 0x55;
  std::free(const_cast<char*>(memory));
}

TEST(CBufferTest, HoldsItsContentAndZeros) {
  SoilMemory();
  const std::string_view content = "content";
  const CBuffer buffer = MakeCBuffer(std::as_bytes(std::span(content)), kSize);
  EXPECT_EQ(Bytes(buffer), std::string(content) + std::string(kSize - content.size(), '\0'));
}

TEST(CBufferTest, HoldsZerosWithoutContent) {
  SoilMemory();
  EXPECT_EQ(Bytes(MakeCBuffer({}, kSize)), std::string(kSize, '\0'));
}

TEST(CBufferTest, MayBeFullOfItsContent) {
  const std::string content(kSize, 'c');
  EXPECT_EQ(Bytes(MakeCBuffer(std::as_bytes(std::span(content)), kSize)), content);
}

TEST(CBufferTest, PassesIntoTheStoresKeeping) {
  MetadataInfoMPL store;
  CBuffer buffer = MakeCBuffer({}, 1);
  void* const address = buffer.get();
  StoreBuffer(store, "key", std::move(buffer));
  core::ValAny value;
  ASSERT_TRUE(store.GetValue("key", &value));
  EXPECT_EQ(value.AsBuffer<void>(), address);
}

// The leak check of a sanitizer build tells whether the buffer was freed.
TEST(CBufferTest, IsFreedWhenTheStoreDoesNotTakeIt) {
  MetadataInfoMPL store;
  StoreBuffer(store, "", MakeCBuffer({}, 1));
}

}  // namespace
}  // namespace service::mediainfo
