#include "media-server/probe/elementary_stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "media-server/io/bounded_source.h"
#include "media-server/probe/demuxer.h"
#include "media-server/probe/ffmpeg.h"
#include "media-server/probe/packet_walk.h"
#include "media-server/probe/picture_header.h"
#include "media-server/probe/sample_reader.h"
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

std::vector<std::uint8_t> FileOf(const std::vector<const char*>& units) {
  std::vector<std::uint8_t> file;
  for (const char* unit : units) {
    const auto bytes = Hex(unit);
    file.insert(file.end(), bytes.begin(), bytes.end());
  }
  return file;
}

/// As it is told when a reader of headers has taken so many packets.
std::optional<PictureTiming> TimeOf(const std::vector<const char*>& units, const char* demuxer_name = "h264",
                                    double header_rate = 25, int taken = 0) {
  std::vector<std::uint8_t> file = FileOf(units);
  const std::uint64_t size = file.size();
  MemorySource source(std::move(file));
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  const auto demuxer = Demuxer::Open(bounded, {.demuxer = demuxer_name}, &reason);
  EXPECT_NE(demuxer, nullptr) << reason;
  if (!demuxer) return std::nullopt;
  PacketWalk walk(demuxer->Context(), {.packets = taken});
  while (walk.Next() != nullptr) {
  }
  return TimeElementaryStream(demuxer->Context(), walk.Seen(), header_rate, size);
}

TEST(ElementaryStream, CountsFrames) {
  const auto timing = TimeOf({kSets, kFrame, kFrame, kFrame});
  ASSERT_TRUE(timing);
  EXPECT_EQ(timing->frame_count, 3U);
  EXPECT_DOUBLE_EQ(timing->duration, 0.12);
}

TEST(ElementaryStream, TwoFieldsOfH264MakeAPicture) {
  for (const int taken : {0, 1, 2}) {
    const auto timing =
        TimeOf({kSets, kIdrTopField, kBottomField, kNextTopField, kNextBottomField, kNextTopField, kNextBottomField},
               "h264", 25, taken);
    ASSERT_TRUE(timing);
    EXPECT_EQ(timing->frame_count, 3U) << taken;
    EXPECT_DOUBLE_EQ(timing->duration, 0.12) << taken;
  }
}

TEST(ElementaryStream, ItsFirstPictureTellsWhatAnIndexedSampleTells) {
  // Two views side by side, and the transfer function of hybrid log-gamma where that is known.
  constexpr const char* kMessages = "00000001 06 2d028180 930112 80";
  MemorySource source(FileOf({kSets, kMessages, kIdrTopField, kBottomField, kNextTopField, kNextBottomField}));
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  const auto demuxer = Demuxer::Open(bounded, {.demuxer = "h264"}, &reason);
  ASSERT_NE(demuxer, nullptr) << reason;
  demuxer->Analyse();
  AVStream& stream = *demuxer->Context().streams[0];
  const SampleReader samples(demuxer->Context(), bounded);
  stream.codecpar->field_order = AV_FIELD_UNKNOWN;
  const PictureHeader header = ReadPictureHeader(stream, samples);
  EXPECT_EQ(header.sei.frame_packing, codec::FramePacking::kSideBySide);
  EXPECT_EQ(header.sei.preferred_transfer, 18);
  EXPECT_EQ(header.parameters.field_order, codec::FieldOrder::kTopFirst);
  EXPECT_EQ(header.full_idr, std::nullopt) << "of all key pictures";
  stream.codecpar->field_order = AV_FIELD_BB;
  EXPECT_EQ(ReadPictureHeader(stream, samples).parameters.field_order, std::nullopt) << "known already";
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
