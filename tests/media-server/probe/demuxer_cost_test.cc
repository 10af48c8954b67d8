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

class ProgramsTest : public testing::Test {
 protected:
  ~ProgramsTest() override { avformat_free_context(context_); }
  void AddStreams(int program) {
    for (unsigned index = 0; index < 128; ++index) av_program_add_stream_index(context_, program, index);
  }

  AVFormatContext* const context_ = avformat_alloc_context();
};

TEST_F(ProgramsTest, AreAsManyAsATableHasRoomFor) {
  for (int id = 1; id <= 253; ++id) ASSERT_NE(av_new_program(context_, id), nullptr) << id;
  EXPECT_EQ(av_new_program(context_, 254), nullptr);
  EXPECT_EQ(av_new_program(context_, 7), context_->programs[6]) << "one that is known is found again";
  EXPECT_EQ(context_->nb_programs, 253U);
}

TEST_F(ProgramsTest, ShareABoundedNumberOfStreams) {
  for (unsigned index = 0; index < 128; ++index) avformat_new_stream(context_, nullptr);
  for (int id = 1; id <= 20; ++id) {
    av_new_program(context_, id);
    AddStreams(id);
  }
  unsigned entries = 0;
  for (int id = 1; id <= 20; ++id) entries += context_->programs[id - 1]->nb_stream_indexes;
  EXPECT_EQ(entries, 2000U);
  EXPECT_EQ(context_->programs[14]->nb_stream_indexes, 128U);
  EXPECT_EQ(context_->programs[19]->nb_stream_indexes, 0U);
}

}  // namespace
}  // namespace media_server::probe
