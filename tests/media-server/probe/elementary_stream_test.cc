#include "media-server/probe/elementary_stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media-server/io/bounded_source.h"
#include "media-server/probe/demuxer.h"
#include "media-server/probe/ffmpeg.h"
#include "tests/media-server/codec/bit_writer.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::probe {
namespace {

using codec::Hex;

/// 176x160 at 25 frames per second, frames or fields, and its picture parameter set.
const char* const kSets = "00000001 674d001ee541652840000003004000000ca1 00000001 68ce3880";
const char* const kIdrTopField = "00000001 658885003ffffff0";
const char* const kBottomField = "00000001 61888602ffffffc0";
const char* const kNextTopField = "00000001 61888c04ffffffc0";
const char* const kNextBottomField = "00000001 61888e06ffffffc0";
const char* const kFrame = "00000001 61888809ffffff80";

/// 48x32 of MPEG-2 at 30000/1001 frames per second, and frames of which the first kind shows one field again.
const char* const kMpeg2Sequence = "000001b3 030020 14 ffffe018 000001b5 1482 0001 0000";
const char* const kFrameAndAField = "00000100 000ffff8 000001b5 8ffff3 8280 00000101 0affffff";
const char* const kMpeg2Frame = "00000100 000ffff8 000001b5 8ffff3 8080 00000101 0affffff";

std::optional<PictureTiming> TimeOf(const std::vector<const char*>& units, const char* demuxer_name = "h264",
                                    double header_rate = 25) {
  std::vector<std::uint8_t> file;
  for (const char* unit : units) {
    const auto bytes = Hex(unit);
    file.insert(file.end(), bytes.begin(), bytes.end());
  }
  const std::uint64_t size = file.size();
  MemorySource source(std::move(file));
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  const auto demuxer = Demuxer::Open(bounded, {.demuxer = demuxer_name}, &reason);
  EXPECT_NE(demuxer, nullptr) << reason;
  return demuxer ? TimeElementaryStream(demuxer->Context(), /*taken=*/{}, header_rate, size) : std::nullopt;
}

TEST(ElementaryStream, CountsFrames) {
  const auto timing = TimeOf({kSets, kFrame, kFrame, kFrame});
  ASSERT_TRUE(timing);
  EXPECT_EQ(timing->frame_count, 3U);
  EXPECT_DOUBLE_EQ(timing->duration, 0.12);
}

TEST(ElementaryStream, TwoFieldsOfH264MakeAPicture) {
  const auto timing =
      TimeOf({kSets, kIdrTopField, kBottomField, kNextTopField, kNextBottomField, kNextTopField, kNextBottomField});
  ASSERT_TRUE(timing);
  EXPECT_EQ(timing->frame_count, 3U);
  EXPECT_DOUBLE_EQ(timing->duration, 0.12);
}

TEST(ElementaryStream, FieldsOfMpeg2ThatAreShownAgainTakeTime) {
  constexpr double kRate = 30000 / 1001.0;
  const auto timing =
      TimeOf({kMpeg2Sequence, kFrameAndAField, kMpeg2Frame, kFrameAndAField, kMpeg2Frame}, "mpegvideo", kRate);
  ASSERT_TRUE(timing);
  EXPECT_EQ(timing->frame_count, 4U);
  EXPECT_DOUBLE_EQ(timing->frame_rate, kRate);
  EXPECT_DOUBLE_EQ(timing->duration, 5 / kRate);
}

}  // namespace
}  // namespace media_server::probe
