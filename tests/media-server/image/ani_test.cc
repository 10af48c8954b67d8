#include "media-server/image/ani.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

std::string Chunk(const std::string& type, const std::string& data) {
  return type + Le(data.size(), 4) + data + Zeros(data.size() % 2);
}
std::string File(const std::string& chunks) { return "RIFF" + Le(chunks.size() + 4, 4) + "ACON" + chunks; }

/// Its size, frames, steps, four fields that icons leave open, ticks of 1/60 s, flags.
std::string AnimationHeader(unsigned steps, unsigned ticks) {
  return Chunk("anih", Le(36, 4) + Le(2, 4) + Le(steps, 4) + Zeros(16) + Le(ticks, 4) + Le(1, 4));
}

/// A cursor of 32 by 32 pixels whose picture is missing.
const std::string kCursor = Le(0, 2) + Le(2, 2) + Le(1, 2) + "\x20\x20\0\0"s + Zeros(8) + Le(22, 4);
const std::string kFrames = Chunk("LIST", "fram" + Chunk("icon", kCursor) + Chunk("icon", kCursor));

TEST(AnimatedCursor, TellsSizeAndDuration) {
  const auto headers = ReadPicture(File(Chunk("LIST", "INFOabc") + AnimationHeader(3, 10) + kFrames));
  ExpectSize(headers, 32, 32);
  ASSERT_TRUE(headers->animation);
  EXPECT_DOUBLE_EQ(headers->animation->duration_s, 0.5);
  EXPECT_EQ(headers->animation->frame_rate, (core::Rational{6, 1}));
}

TEST(AnimatedCursor, AddsUpTheRatesOfItsSteps) {
  const auto headers =
      ReadPicture(File(AnimationHeader(3, 10) + Chunk("rate", Le(6, 4) + Le(12, 4) + Le(30, 4)) + kFrames));
  EXPECT_DOUBLE_EQ(headers->animation->duration_s, 0.8);
  EXPECT_EQ(headers->animation->frame_rate, std::nullopt);
}

TEST(AnimatedCursor, StandsStillWithASingleStep) {
  EXPECT_FALSE(ReadPicture(File(AnimationHeader(1, 10) + kFrames))->animation);
  EXPECT_FALSE(ReadPicture(File(AnimationHeader(3, 0) + kFrames))->animation);
  EXPECT_FALSE(ReadPicture(File(kFrames))->animation);
}

TEST(AnimatedCursor, RefusesFilesWithoutAnIconNearTheirStart) {
  EXPECT_FALSE(ReadPicture(File(AnimationHeader(3, 10))));
  std::string chunks;
  for (int i = 0; i < 100; ++i) chunks += Chunk("junk", "");
  EXPECT_FALSE(ReadPicture(File(chunks + kFrames)));
  const std::string file = File(AnimationHeader(3, 10) + kFrames);
  for (std::size_t size = 0; size < file.size(); ++size) {
    const auto headers = ReadPicture(file.substr(0, size));
    if (!headers) continue;
    ExpectSize(headers, 32, 32);
  }
}

}  // namespace
}  // namespace media_server::image
