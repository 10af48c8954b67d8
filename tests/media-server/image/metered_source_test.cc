#include "media-server/image/metered_source.h"

#include <gtest/gtest.h>

#include "media-server/container/byte_reader.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::image {
namespace {

TEST(MeteredSource, ReadsWithinTheBudget) {
  MemorySource source("0123456789");
  MeteredSource metered(source, 6);
  EXPECT_EQ(metered.Size(), 10U);
  EXPECT_EQ(AsText(ReadBytes(metered, 2, 4)), "2345");
  EXPECT_EQ(metered.BytesLeft(), 2U);
  EXPECT_EQ(AsText(ReadBytes(metered, 0, 3)), "");
  EXPECT_EQ(AsText(ReadBytes(metered, 0, 2)), "01");
  EXPECT_EQ(metered.BytesLeft(), 0U);
  EXPECT_EQ(AsText(ReadBytes(metered, 0, 1)), "");
}

TEST(MeteredSource, OnlyWhatWasReadCounts) {
  MemorySource source("0123456789");
  MeteredSource metered(source, 6);
  EXPECT_EQ(AsText(ReadBytes(metered, 9, 6)), "9");
  EXPECT_EQ(metered.BytesLeft(), 5U);
}

}  // namespace
}  // namespace media_server::image
