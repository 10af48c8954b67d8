#include "service-mediainfo/metadata/c_buffer.h"

#include <gtest/gtest.h>

#include "service-mediainfo/metadata/metadata_store.h"

namespace service::mediainfo {
namespace {

TEST(CBufferTest, IsZeroed) {
  const CBuffer buffer = MakeCBuffer(16);
  for (int at = 0; at < 16; ++at) EXPECT_EQ(static_cast<const char*>(buffer.get())[at], 0);
}

TEST(CBufferTest, PassesIntoTheStoresKeeping) {
  MetadataInfoMPL store;
  CBuffer buffer = MakeCBuffer(1);
  void* const address = buffer.get();
  StoreBuffer(store, "key", std::move(buffer));
  core::ValAny value;
  ASSERT_TRUE(store.GetValue("key", &value));
  EXPECT_EQ(value.AsBuffer<void>(), address);
}

// The leak check of a sanitizer build tells whether the buffer was freed.
TEST(CBufferTest, IsFreedWhenTheStoreDoesNotTakeIt) {
  MetadataInfoMPL store;
  StoreBuffer(store, "", MakeCBuffer(1));
}

}  // namespace
}  // namespace service::mediainfo
