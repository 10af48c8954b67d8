#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

enum class Use { kNone, kOneByte, kAll };

class BlockOfZerosTest : public testing::TestWithParam<std::size_t> {};

// Each block is likely to be the one that was freed before it, in which all, a part or nothing is in memory.
TEST_P(BlockOfZerosTest, IsZeroWhateverItWasUsedFor) {
  const std::size_t size = GetParam();
  for (const Use use : {Use::kNone, Use::kOneByte, Use::kAll, Use::kOneByte, Use::kNone, Use::kAll}) {
    auto* const block = static_cast<unsigned char*>(av_mallocz(size));
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(*block, 0);
    EXPECT_EQ(std::memcmp(block, block + 1, size - 1), 0);
    if (use == Use::kOneByte) block[size / 2] = 1;
    if (use == Use::kAll) std::memset(block, 0xFF, size);
    av_free(block);
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, BlockOfZerosTest,
                         testing::Values(1, 65'535, 65'536, 65'537, 173'976, 554'432, 2'097'384, 16'777'216,
                                         16'777'217));

}  // namespace
}  // namespace media_server::probe
