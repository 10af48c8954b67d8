#include "media-server/probe/program_describer.h"

#include <gtest/gtest.h>

#include "media-server/probe/av_handles.h"
#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {
namespace {

class ProgramDescriberTest : public testing::Test {
 protected:
  void AddStream(double duration, std::uint32_t bit_rate, bool described = true) {
    const AVStream* stream = avformat_new_stream(context_.get(), nullptr);
    if (!described) return;
    StreamDescription& description = media_.streams.emplace_back();
    description.index = static_cast<std::uint32_t>(stream->index);
    description.duration = duration;
    description.bit_rate = bit_rate;
  }
  void AddProgram(int id, std::initializer_list<unsigned> streams) {
    AVProgram* program = av_new_program(context_.get(), id);
    program->program_num = id;
    for (const unsigned stream : streams) av_program_add_stream_index(context_.get(), id, stream);
  }

  FormatContextHandle context_{avformat_alloc_context()};
  MediaDescription media_;
};

using Positions = std::vector<std::size_t>;

TEST_F(ProgramDescriberTest, PutsAllStreamsInOneProgramWhereTheFileHasNone) {
  AddStream(1, 100);
  AddStream(2, 200);
  media_.duration = 3;
  media_.bit_rate = 999;
  DescribePrograms(*context_, media_);
  ASSERT_EQ(media_.programs.size(), 1u);
  EXPECT_EQ(media_.programs[0].number, 1u);
  EXPECT_EQ(media_.programs[0].duration, 3);
  EXPECT_EQ(media_.programs[0].bit_rate, 999u);
  EXPECT_EQ(media_.programs[0].streams, (Positions{0, 1}));
}

TEST_F(ProgramDescriberTest, KeepsTheFilesProgramsApart) {
  AddStream(1, 100);
  AddStream(2, 200);
  AddStream(4, 0);
  AddProgram(11, {0, 1});
  AddProgram(22, {2});
  DescribePrograms(*context_, media_);
  ASSERT_EQ(media_.programs.size(), 2u);
  EXPECT_EQ(media_.programs[0].number, 11u);
  EXPECT_EQ(media_.programs[0].duration, 2);
  EXPECT_EQ(media_.programs[0].bit_rate, 300u);
  EXPECT_EQ(media_.programs[0].streams, (Positions{0, 1}));
  EXPECT_EQ(media_.programs[1].number, 22u);
  EXPECT_EQ(media_.programs[1].duration, 4);
  EXPECT_EQ(media_.programs[1].bit_rate, 0u) << "one rate is not known";
  EXPECT_EQ(media_.programs[1].streams, (Positions{2}));
}

TEST_F(ProgramDescriberTest, LosesNoStreamThatNoProgramNames) {
  AddStream(1, 100);
  AddStream(1, 100);
  AddProgram(5, {1});
  AddProgram(6, {});
  DescribePrograms(*context_, media_);
  ASSERT_EQ(media_.programs.size(), 1u) << "a program without streams is none";
  EXPECT_EQ(media_.programs[0].number, 5u);
  EXPECT_EQ(media_.programs[0].streams, (Positions{1, 0}));
}

TEST_F(ProgramDescriberTest, CountsStreamsThatAreNotDescribed) {
  AddStream(1, 100, /*described=*/false);
  AddStream(1, 100);
  DescribePrograms(*context_, media_);
  EXPECT_EQ(media_.programs[0].stream_count, 2u);
  EXPECT_EQ(media_.programs[0].streams, (Positions{0}));
}

TEST_F(ProgramDescriberTest, SharesAStreamBetweenPrograms) {
  AddStream(1, 100);
  AddProgram(1, {0});
  AddProgram(2, {0});
  DescribePrograms(*context_, media_);
  ASSERT_EQ(media_.programs.size(), 2u);
  EXPECT_EQ(media_.programs[0].streams, (Positions{0}));
  EXPECT_EQ(media_.programs[1].streams, (Positions{0}));
}

}  // namespace
}  // namespace media_server::probe
