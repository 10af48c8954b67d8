#include "media-server/container/guess.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

bool IsPlausible(const std::string& content, std::string_view demuxer, int score) {
  MemorySource source(content);
  return IsPlausibleGuess(source, demuxer, score);
}

const std::string kBinary = "\x01\x02" + Zeros(100);

TEST(GuessTest, BytesMayBeWhatTheySuit) {
  EXPECT_TRUE(IsPlausible(kBinary, "smk", 25));
  EXPECT_TRUE(IsPlausible(kBinary, "mov,mp4,m4a,3gp,3g2,mj2", 50));
}

TEST(GuessTest, TextIsNeitherSoundNorPictures) {
  const std::string text = "/* guuid.h - functions of unique ids\n\tCopyright \xC3\xA9tc. */\r\n";
  EXPECT_FALSE(IsPlausible(text, "mov,mp4,m4a,3gp,3g2,mj2", 50));
  EXPECT_FALSE(IsPlausible(text, "loas", 100));
  EXPECT_TRUE(IsPlausible(text, "microdvd", 50)) << "timed text is text";
  EXPECT_TRUE(IsPlausible(text + Zeros(1), "loas", 50)) << "no text has zeros";
  EXPECT_TRUE(IsPlausible(std::string(50, 'x') + std::string(50, '\xC3'), "loas", 50)) << "more than text has";
}

TEST(GuessTest, TextBehindTheFirstBytesIsNotLookedAt) {
  EXPECT_FALSE(IsPlausible(std::string(4096, 'x') + Zeros(1), "loas", 50));
  EXPECT_TRUE(IsPlausible(std::string(4095, 'x') + Zeros(1), "loas", 50));
}

TEST(GuessTest, AFewStartCodesProveNothing) {
  EXPECT_FALSE(IsPlausible(kBinary, "h263", 25));
  EXPECT_FALSE(IsPlausible(kBinary, "h261", 25));
  EXPECT_FALSE(IsPlausible(kBinary, "mpeg", 25));
  EXPECT_TRUE(IsPlausible(kBinary, "h263", 50));
  EXPECT_TRUE(IsPlausible(kBinary, "mpeg", 26));
}

std::string GameFrame(char header) {
  const std::string pair = {header, '\x22'};
  return pair + pair + std::string(28, '\x81');
}

TEST(GuessTest, SoundOfGamesChanges) {
  std::string sound;
  for (int i = 0; i < 64; ++i) sound += GameFrame(static_cast<char>(i % 3));
  EXPECT_TRUE(IsPlausible(sound, "adp", 25));
  std::string pages;
  for (int page = 0; page < 4; ++page) {
    pages += GameFrame(1);
    for (int i = 0; i < 127; ++i) pages += Zeros(32);
  }
  EXPECT_FALSE(IsPlausible(pages, "adp", 25));
  EXPECT_FALSE(IsPlausible(sound + std::string("\1\2\3\4", 4) + Zeros(28), "adp", 25)) << "a frame that is none";
}

}  // namespace
}  // namespace media_server
