#include "media-server/probe/dv_frame.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "media-server/probe/media_prober.h"
#include "mediainfo/ivideo_info.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::probe {
namespace {

using codec::FieldOrder;

constexpr std::size_t kNtscFrame = 120'000;
constexpr std::size_t kPalFrame = 144'000;
constexpr std::uint8_t kLowerFirst = 0x50;
constexpr std::uint8_t kUpperFirst = 0x10;

struct System {
  bool has_625_lines = true;
  std::uint8_t signal_type = 0;  // 0 for 25 Mb/s, 0x14 for 1080 lines, 0x18 for 720
};

// A frame of `size` bytes: its header block, and in its sixth block the packs of video source and source control.
std::vector<std::uint8_t> Frame(std::size_t size, System system, std::uint8_t field_flags) {
  std::vector<std::uint8_t> frame(size, 0);
  frame[0] = 0x1F;
  frame[1] = 0x07;
  frame[3] = system.has_625_lines ? 0xBF : 0x3F;
  const std::size_t source = 5 * 80 + 48;
  frame[source] = 0x60;
  frame[source + 3] = static_cast<std::uint8_t>((system.has_625_lines ? 0x20 : 0) | system.signal_type);
  frame[source + 5] = 0x61;
  frame[source + 8] = field_flags;
  return frame;
}

TEST(DvFrameTest, ReadsWhatAFrameTells) {
  const auto pal = ReadDvFrame(Frame(kPalFrame, {}, kLowerFirst));
  ASSERT_TRUE(pal.has_value());
  EXPECT_EQ(pal->width, 720u);
  EXPECT_EQ(pal->height, 576u);
  EXPECT_EQ(pal->frame_rate, (core::Rational{25, 1}));
  EXPECT_EQ(pal->chroma_sampling, codec::kChroma420);
  EXPECT_EQ(pal->bit_depth, 8);
  const auto ntsc = ReadDvFrame(Frame(kNtscFrame, {.has_625_lines = false}, kLowerFirst));
  ASSERT_TRUE(ntsc.has_value());
  EXPECT_EQ(ntsc->height, 480u);
  EXPECT_EQ(ntsc->frame_rate, (core::Rational{30'000, 1001}));
  EXPECT_EQ(ntsc->chroma_sampling, codec::kChroma411);
}

TEST(DvFrameTest, ReadsTheOrderOfFields) {
  const auto order = [](System system, std::uint8_t flags) {
    return ReadDvFrame(Frame(480, system, flags))->field_order;
  };
  EXPECT_EQ(order({}, kLowerFirst), FieldOrder::kBottomFirst);
  EXPECT_EQ(order({}, kUpperFirst), FieldOrder::kTopFirst);
  EXPECT_EQ(order({}, 0x40), FieldOrder::kProgressive);
  EXPECT_EQ(order({.signal_type = 0x14}, kLowerFirst), FieldOrder::kTopFirst) << "the flag means the other field";
  EXPECT_EQ(order({.signal_type = 0x18}, kLowerFirst), FieldOrder::kProgressive) << "720 lines";
  std::vector<std::uint8_t> frame = Frame(480, {}, kLowerFirst);
  frame[5 * 80 + 53] = 0xFF;
  EXPECT_EQ(ReadDvFrame(frame)->field_order, std::nullopt) << "no source control pack";
}

TEST(DvFrameTest, RefusesWhatIsNoFrame) {
  EXPECT_EQ(ReadDvFrame({}), std::nullopt);
  EXPECT_EQ(ReadDvFrame(Frame(479, {}, 0)), std::nullopt);
  EXPECT_EQ(ReadDvFrame(Frame(480, {.signal_type = 0x1E}, 0)), std::nullopt) << "a signal type that does not exist";
}

TEST(DvFrameTest, AFileOfFramesAloneHasThemAsItsStream) {
  std::vector<std::uint8_t> bytes;
  for (int i = 0; i < 3; ++i) {
    const auto frame = Frame(kNtscFrame, {.has_625_lines = false}, kLowerFirst);
    bytes.insert(bytes.end(), frame.begin(), frame.end());
  }
  MemorySource source(std::move(bytes));
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  const auto media = ProbeMedia(bounded, /*decryption_key=*/"", &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_EQ(media->format_name, "dv");
  EXPECT_NEAR(media->duration, 0.1001, 0.0001);
  ASSERT_EQ(media->streams.size(), 1u);
  const StreamDescription& picture = media->streams[0];
  EXPECT_EQ(picture.codec_name, "dvvideo");
  EXPECT_EQ(picture.picture.width, 720u);
  EXPECT_EQ(picture.picture.height, 480u);
  EXPECT_NEAR(picture.picture.frame_rate, 29.97, 0.001);
  EXPECT_EQ(picture.picture.frame_count, 3u);
  EXPECT_EQ(picture.bit_rate, 28'771'229u);
  EXPECT_EQ(picture.picture.field_order, 3);
  EXPECT_EQ(picture.picture.flags, service::mediainfo::kVideoInterlaced);
}

}  // namespace
}  // namespace media_server::probe
