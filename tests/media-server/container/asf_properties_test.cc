#include "media-server/container/asf_properties.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

const std::string kHeaderHead = Zeros(30);
const std::string kPropertiesId = "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4" + Zeros(1) + "\xC0\x0C\x20\x53\x65";
const std::string kOtherId(16, 'x');

// 2006-10-26 20:52:03 UTC, in units of 100 ns since 1601.
constexpr std::uint64_t kCreation = 128'063'695'230'000'000;

std::string Properties(std::uint64_t file_size, std::uint64_t creation, std::uint32_t flags,
                       std::uint64_t play_duration = 0, std::uint64_t preroll_ms = 0) {
  return kPropertiesId + Le(104, 8)                             // id, size
         + Zeros(16) + Le(file_size, 8)                         // file id, file size
         + Le(creation, 8) + Zeros(8)                           // creation date, packets
         + Le(play_duration, 8) + Zeros(8) + Le(preroll_ms, 8)  // send duration in between
         + Le(flags, 4) + Zeros(12);                            // flags; packet sizes, bit rate
}

std::optional<AsfFileProperties> Read(const std::string& content) {
  MemorySource source(kHeaderHead + content);
  return ReadAsfFileProperties(source);
}

TEST(AsfPropertiesTest, ReadsSizeAndCreationTime) {
  const auto properties = Read(Properties(5000, kCreation, 2));
  ASSERT_TRUE(properties.has_value());
  EXPECT_EQ(properties->file_size_bytes, 5000u);
  EXPECT_EQ(properties->creation_unix_s, 1'161'895'923);
}

TEST(AsfPropertiesTest, FindsTheObjectBehindOthers) {
  EXPECT_TRUE(Read(kOtherId + Le(100, 8) + Zeros(76) + Properties(1, kCreation, 0)).has_value());
}

TEST(AsfPropertiesTest, TellsWhetherTheHeaderSpeaksOfEncryption) {
  const auto is_protected = [](const std::string& content) {
    MemorySource source(kHeaderHead + content);
    return IsProtectedAsf(source);
  };
  const std::string content_encryption = "\xFB\xB3\x11\x22\x23\xBD\xD2\x11\xB4\xB7" + Zeros(1) + "\xA0\xC9\x55\xFC\x6E";
  const std::string extended_encryption = "\x14\xE6\x8A\x29\x22\x26\x17\x4C\xB9\x35\xDA\xE0\x7E\xE9\x28\x9C";
  EXPECT_FALSE(is_protected(""));
  EXPECT_FALSE(is_protected(Properties(1, kCreation, 0)));
  EXPECT_TRUE(is_protected(Properties(1, kCreation, 0) + content_encryption + Le(24, 8)));
  EXPECT_TRUE(is_protected(extended_encryption + Le(24, 8) + Properties(1, kCreation, 0)));
}

TEST(AsfPropertiesTest, ABroadcastHasNoSize) {
  const auto properties = Read(Properties(5000, kCreation, 1));
  ASSERT_TRUE(properties.has_value());
  EXPECT_EQ(properties->file_size_bytes, std::nullopt);
}

TEST(AsfPropertiesTest, PlaysForItsDurationWithoutThePreroll) {
  constexpr std::uint64_t kSecond = 10'000'000;
  EXPECT_EQ(Read(Properties(1, 0, 2, 7 * kSecond, 3100))->duration_s, 7 - 3.1);
  EXPECT_EQ(Read(Properties(1, 0, 1, 7 * kSecond, 3100))->duration_s, std::nullopt) << "a broadcast";
  EXPECT_EQ(Read(Properties(1, 0, 2, 3 * kSecond, 3100))->duration_s, std::nullopt);
}

TEST(AsfPropertiesTest, ZeroIsNoTime) { EXPECT_EQ(Read(Properties(1, 0, 0))->creation_unix_s, std::nullopt); }

TEST(AsfPropertiesTest, NothingUpTo1970IsATime) {
  constexpr std::uint64_t k1970 = 116'444'736'000'000'000;
  EXPECT_EQ(Read(Properties(1, 1, 0))->creation_unix_s, std::nullopt);
  EXPECT_EQ(Read(Properties(1, k1970, 0))->creation_unix_s, std::nullopt);
  EXPECT_EQ(Read(Properties(1, k1970 + 10'000'000, 0))->creation_unix_s, 1);
}

TEST(AsfPropertiesTest, ReadsTimesFarAhead) {
  EXPECT_EQ(Read(Properties(1, ~std::uint64_t{0}, 0))->creation_unix_s, 1'833'029'933'770);
}

const std::string kExtensionId = "\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3" + Zeros(1) + "\xC0\x0C\x20\x53\x65";
const std::string kStreamId = "\xCB\xA5\xE6\x14\x72\xC6\x32\x43\x83\x99\xA9\x69\x52\x06\x5B\x5A";

std::string ExtendedStream(std::uint16_t number, std::uint64_t frame_time) {
  return kStreamId + Le(88, 8)                           // id, size
         + Zeros(48)                                     // times, rates, buffers, flags
         + Le(number, 2) + Zeros(2) + Le(frame_time, 8)  // stream, language, time of a frame
         + Zeros(4);                                     // counts of what follows
}

std::string Extension(const std::string& objects) {
  return kExtensionId + Le(46 + objects.size(), 8) + Zeros(18) + Le(objects.size(), 4) + objects;
}

std::vector<AsfFrameTime> ReadFrameTimes(const std::string& content) {
  MemorySource source(kHeaderHead + content);
  return ReadAsfFrameTimes(source);
}

TEST(AsfPropertiesTest, ReadsTheFrameTimesOfStreams) {
  const auto times =
      ReadFrameTimes(Properties(1, kCreation, 0) + Extension(kOtherId + Le(30, 8) + Zeros(6) +
                                                             ExtendedStream(1, 400'000) + ExtendedStream(3, 333'667)));
  ASSERT_EQ(times.size(), 2u);
  EXPECT_EQ(times[0].stream_number, 1);
  EXPECT_DOUBLE_EQ(times[0].FramesPerSecond(), 25);
  EXPECT_EQ(times[1].stream_number, 3);
  EXPECT_NEAR(times[1].FramesPerSecond(), 29.97, 0.0001);
}

TEST(AsfPropertiesTest, LeavesImpossibleFrameTimesOut) {
  for (const std::uint64_t time :
       {std::uint64_t{0}, std::uint64_t{1}, std::uint64_t{9'999}, std::uint64_t{600'000'001}, ~std::uint64_t{0}}) {
    EXPECT_TRUE(ReadFrameTimes(Extension(ExtendedStream(1, time))).empty()) << time;
  }
  EXPECT_EQ(ReadFrameTimes(Extension(ExtendedStream(1, 10'000))).size(), 1u);
  EXPECT_EQ(ReadFrameTimes(Extension(ExtendedStream(1, 600'000'000))).size(), 1u);
}

TEST(AsfPropertiesTest, FindsNoFrameTimeElsewhere) {
  EXPECT_TRUE(ReadFrameTimes(Properties(1, kCreation, 0)).empty());
  EXPECT_TRUE(ReadFrameTimes(ExtendedStream(1, 400'000)).empty()) << "outside of the extension";
  const std::string whole = Extension(ExtendedStream(1, 400'000));
  for (std::size_t size = 0; size < whole.size() - 4; ++size) {
    EXPECT_TRUE(ReadFrameTimes(whole.substr(0, size)).empty()) << size;
  }
}

TEST(AsfPropertiesTest, FindsNothingInBrokenHeaders) {
  const std::string properties = Properties(1, kCreation, 0);
  for (std::size_t size = 0; size < 92; ++size) EXPECT_FALSE(Read(properties.substr(0, size)).has_value()) << size;
  EXPECT_FALSE(Read(kOtherId + Le(0, 8) + properties).has_value()) << "an object smaller than its head";
  EXPECT_FALSE(Read(kOtherId + Le(~std::uint64_t{0}, 8) + properties).has_value());
  std::string many;
  for (int i = 0; i < 64; ++i) many += kOtherId + Le(24, 8);
  EXPECT_FALSE(Read(many + properties).has_value()) << "behind more objects than are looked at";
}

}  // namespace
}  // namespace media_server
