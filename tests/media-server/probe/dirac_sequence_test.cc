#include "media-server/probe/dirac_sequence.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "media-server/container/byte_reader.h"
#include "media-server/probe/media_prober.h"
#include "tests/media-server/container/memory_source.h"

namespace media_server::probe {
namespace {

using namespace std::string_literals;
using codec::FieldOrder;

constexpr std::size_t kParseInfo = 13;

/// A unit whose code is `code`: parse info, content.
std::string Unit(char code, const std::string& content, std::size_t size_of_last = 0) {
  return "BBCD"s + code + Be(kParseInfo + content.size(), 4) + Be(size_of_last, 4) + content;
}

/// Bits of interleaved Exp-Golomb codes as bytes, ones behind them.
std::string Bits(std::string_view digits) {
  std::string bytes;
  std::size_t used = 0;
  for (const char digit : digits) {
    if (digit == ' ') continue;
    if (used++ % 8 == 0) bytes += '\xFF';
    if (digit == '0') bytes.back() = static_cast<char>(bytes.back() & ~(0x80 >> (used - 1) % 8));
  }
  return bytes + "\xFF\xFF\xFF\xFF";
}

// Version 2.2, profile and level 0; the format of number `format`, of which nothing is changed.
std::string Sequence(std::string_view format) {
  return Unit('\0', Bits("0 1 1 0 1 1 1 1 " + std::string(format) + " 0 0 0 0 0 0 0 0 1"));
}

TEST(DiracSequence, ReadsAFormatByItsNumber) {
  const std::string bytes = Sequence("0 0 0 0 0 0 1");  // 7, whose successor is 1000: 480 lines of 60 fields
  const auto picture = ReadDiracSequence(AsBytes(bytes));
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 720U);
  EXPECT_EQ(picture->height, 480U);
  EXPECT_EQ(picture->sample_aspect_ratio, (core::Rational{10, 11}));
  EXPECT_EQ(picture->frame_rate, (core::Rational{30'000, 1001}));
  EXPECT_EQ(picture->field_order, FieldOrder::kBottomFirst);
  EXPECT_EQ(picture->progressive_only, false);
  EXPECT_EQ(picture->chroma_sampling, codec::kChroma422);
  EXPECT_EQ(picture->bit_depth, 10);
  EXPECT_EQ(picture->color.full_range, false);
}

TEST(DiracSequence, ReadsProgressivePictures) {
  const std::string bytes = Sequence("0 0 0 1 1");  // 4, whose successor is 101: 288 lines of 12.5 pictures
  const auto picture = ReadDiracSequence(AsBytes(bytes));
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->width, 352U);
  EXPECT_EQ(picture->height, 288U);
  EXPECT_EQ(picture->frame_rate, (core::Rational{25, 2}));
  EXPECT_EQ(picture->progressive_only, true);
  EXPECT_EQ(picture->chroma_sampling, codec::kChroma420);
  EXPECT_EQ(picture->bit_depth, 8);
}

TEST(DiracSequence, AFileOfPicturesIsCounted) {
  std::string file = Sequence("0 0 0 1 1");
  std::size_t last = file.size();
  for (std::uint32_t number = 0; number < 5; ++number) {
    const std::string picture = Unit('\xE8', Be(number, 4) + Zeros(500), last);
    last = picture.size();
    file += picture;
  }
  file += Unit('\x10', "", last);  // the end of the sequence
  MemorySource source(std::vector<std::uint8_t>(file.begin(), file.end()));
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  const auto media = ProbeMedia(bounded, "", &reason);
  ASSERT_NE(media, nullptr) << reason;
  ASSERT_EQ(media->streams.size(), 1u);
  const StreamDescription& picture = media->streams[0];
  EXPECT_EQ(picture.picture.width, 352u);
  EXPECT_EQ(picture.picture.height, 288u);
  EXPECT_EQ(picture.picture.frame_count, 5u);
  EXPECT_DOUBLE_EQ(picture.duration, 0.4);
}

TEST(DiracSequence, OtherBytesAreNone) {
  const std::string whole = Sequence("1");
  EXPECT_TRUE(ReadDiracSequence(AsBytes(whole)));
  EXPECT_FALSE(ReadDiracSequence({}));
  EXPECT_FALSE(ReadDiracSequence(AsBytes(whole.substr(0, 13))));
  EXPECT_FALSE(ReadDiracSequence(AsBytes(whole.substr(1))));
  EXPECT_FALSE(ReadDiracSequence(AsBytes(Unit('\x20', whole.substr(13))))) << "auxiliary data";
}

}  // namespace
}  // namespace media_server::probe
