#include "media-server/image/jpeg_xl_frames.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/image/jpeg_xl_builder.h"

namespace media_server::image {
namespace {

/// Pictures of 200 x 100, a tick of a hundredth second, frames from the fourth byte on.
JpegXlFrameRules Rules() {
  return {.size = {200, 100}, .ticks_per_second = 100, .ticks_divisor = 1, .is_xyb = true, .frames_begin = 3};
}

std::optional<Animation> Read(const std::string& frames, const JpegXlFrameRules& rules = Rules()) {
  MemorySource source("abc" + frames);
  auto animation = ReadJpegXlAnimation(source, rules);
  EXPECT_LE(source.BytesRead(), 64 * 1024U);
  return animation;
}

std::string Frame(unsigned duration_ticks) { return JpegXlFrame{.duration_ticks = duration_ticks}.Bytes(); }
std::string LastFrame(unsigned duration_ticks) {
  return JpegXlFrame{.duration_ticks = duration_ticks, .is_last = true}.Bytes();
}

TEST(JpegXlFrames, TheirDurationsAddUp) {
  const auto animation = Read(Frame(7) + Frame(7) + LastFrame(13));
  ASSERT_TRUE(animation);
  EXPECT_DOUBLE_EQ(animation->duration_s, 0.27);
  EXPECT_EQ(animation->frame_rate, std::nullopt);
}

TEST(JpegXlFrames, OfEqualDurationHaveARate) {
  auto rules = Rules();
  rules.ticks_per_second = 30000;
  rules.ticks_divisor = 1001;
  const auto animation = Read(Frame(2) + LastFrame(2), rules);
  ASSERT_TRUE(animation);
  EXPECT_EQ(animation->frame_rate, (core::Rational{15000, 1001}));
}

TEST(JpegXlFrames, WithoutDurationAreLayersOfTheNext) {
  const auto animation = Read(Frame(0) + Frame(50) + Frame(0) + LastFrame(50));
  ASSERT_TRUE(animation);
  EXPECT_EQ(animation->duration_s, 1);
  EXPECT_EQ(animation->frame_rate, (core::Rational{2, 1}));
}

TEST(JpegXlFrames, OneAloneStandsStill) { EXPECT_FALSE(Read(LastFrame(10))); }

TEST(JpegXlFrames, BehindTheLastAreNotRead) {
  EXPECT_EQ(Read(Frame(10) + LastFrame(10) + Frame(200))->duration_s, 0.2);
}

TEST(JpegXlFrames, LargeOnesHaveAPartForEachGroup) {
  auto rules = Rules();
  rules.size = {2049, 257};  // nine by two groups; two low frequency groups and two parts for all
  const std::string large = JpegXlFrame{.duration_ticks = 10, .parts = 9 * 2 + 2 + 2}.Bytes();
  EXPECT_EQ(Read(large + LastFrame(30), rules)->duration_s, 0.4);
}

TEST(JpegXlFrames, ATableOfContentsMayBeLong) {
  auto rules = Rules();
  rules.size = {40 * 256, 10 * 256};  // a table of 613 bytes
  const std::string large = JpegXlFrame{.duration_ticks = 10, .parts = 400 + 5 * 2 + 2, .part_bytes = 0}.Bytes();
  EXPECT_EQ(Read(large + LastFrame(30), rules)->duration_s, 0.4);
}

TEST(JpegXlFrames, MayHaveATimeCodeExtraChannelsAndACrop) {
  auto rules = Rules();
  rules.has_time_codes = true;
  rules.extra_channels = 1;
  rules.is_xyb = false;
  const auto frame = [](bool is_last) {
    JpegXlBits bits;
    bits.Put(0, 1).Put(0, 2).Put(0, 1).Put(0, 2).Put(0, 1);  // lossy, no flags, no YCbCr
    bits.Put(0, 2).Put(0, 2);                                // upsampling of colours and of the extra channel
    bits.Put(1, 2).Put(0, 2).Put(3, 2);                      // two passes: no downsampling, one shift
    bits.Put(1, 1).Put(0, 2).Put(20, 8).Put(0, 2).Put(0, 8).Put(0, 2).Put(50, 8).Put(0, 2).Put(60, 8);  // crop
    bits.Put(2, 2).Put(0, 2).Put(1, 1).Put(1, 2);        // blends: alpha channel, clamp, source
    bits.Put(0, 2).Put(1, 2);                            // the extra channel replaces a part: source
    bits.Put(1, 2).Put(0xFFFFFFFF, 32).Put(is_last, 1);  // one tick, time code
    if (!is_last) bits.Put(1, 2);
    bits.Put(1, 2).Put(2, 4).Put(0x4142, 16);           // name
    bits.Put(0, 1).Put(1, 1).Put(1, 1).Put(0, 6 * 16);  // filters: own smoothing
    bits.Put(1, 2).Put(1, 1).Put(0, 8 * 16).Put(1, 1).Put(0, 5 * 16).Put(1, 1).Put(0, 4 * 16);
    bits.Put(0, 2).Put(0, 2).Put(0, 1).ToByte();  // no extensions, not permuted
    for (int part = 0; part < 2 + 1 + 2; ++part) bits.Put(0, 2).Put(3, 10);
    return bits.ToByte().BytesOfFrame() + std::string(15, 'x');
  };
  const auto animation = Read(frame(false) + frame(false) + frame(true), rules);
  ASSERT_TRUE(animation);
  EXPECT_DOUBLE_EQ(animation->duration_s, 0.03);
}

TEST(JpegXlFrames, ThatCannotBePassedByLeaveTheDurationUnknown) {
  EXPECT_FALSE(Read(JpegXlFrame{.duration_ticks = 10, .is_permuted = true}.Bytes() + LastFrame(10)));
  EXPECT_FALSE(Read(JpegXlFrame{.duration_ticks = 10, .has_extension = true}.Bytes() + LastFrame(10)));
  auto rules = Rules();
  rules.ticks_divisor = std::numeric_limits<std::uint32_t>::max();
  EXPECT_FALSE(Read(Frame(10) + LastFrame(10), rules));
}

TEST(JpegXlFrames, CutShortLeaveTheDurationUnknown) {
  const std::string frames = Frame(10) + Frame(10);
  const std::string last = LastFrame(10);
  for (std::size_t size = 0; size < frames.size(); ++size) EXPECT_FALSE(Read(frames.substr(0, size))) << size;
  EXPECT_FALSE(Read(frames + last.substr(0, 3)));
  EXPECT_TRUE(Read(frames + last));
}

TEST(JpegXlFrames, WithoutEndAreReadInPart) {
  std::string frames;
  while (frames.size() < 2'000'000) frames += Frame(1);
  MemorySource source("abc" + frames);
  EXPECT_FALSE(ReadJpegXlAnimation(source, Rules()));
  EXPECT_LE(source.BytesRead(), frames.size() + 8192);
}

TEST(JpegXlFrames, WithLongTablesAreReadTwiceAtMost) {
  auto rules = Rules();
  rules.size = {40 * 256, 10 * 256};
  const std::string large = JpegXlFrame{.duration_ticks = 1, .parts = 400 + 5 * 2 + 2, .part_bytes = 0}.Bytes();
  std::string frames;
  for (int i = 0; i < 200; ++i) frames += large;
  MemorySource source("abc" + frames + LastFrame(1));
  EXPECT_TRUE(ReadJpegXlAnimation(source, rules));
  EXPECT_LE(source.BytesRead(), 2 * frames.size() + 8192);
}

}  // namespace
}  // namespace media_server::image
