#include "media-server/container/asf_properties.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/media-server/container/memory_source.h"

namespace media_server {
namespace {

const std::string kHeaderHead = Zeros(30);
const std::string kPropertiesId = "\xA1\xDC\xAB\x8C\x47\xA9\xCF\x11\x8E\xE4" + Zeros(1) + "\xC0\x0C\x20\x53\x65";
const std::string kOtherId(16, 'x');

// 2006-10-26 20:52:03 UTC, in units of 100 ns since 1601.
constexpr std::uint64_t kCreation = 128'063'695'230'000'000;

std::string Properties(std::uint64_t file_size, std::uint64_t creation, std::uint32_t flags) {
  return kPropertiesId + Le(104, 8)      // id, size
         + Zeros(16) + Le(file_size, 8)  // file id, file size
         + Le(creation, 8) + Zeros(32)   // creation date; packets, durations, preroll
         + Le(flags, 4) + Zeros(12);     // flags; packet sizes, bit rate
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

TEST(AsfPropertiesTest, ABroadcastHasNoSize) {
  const auto properties = Read(Properties(5000, kCreation, 1));
  ASSERT_TRUE(properties.has_value());
  EXPECT_EQ(properties->file_size_bytes, std::nullopt);
}

TEST(AsfPropertiesTest, ZeroIsNoTime) { EXPECT_EQ(Read(Properties(1, 0, 0))->creation_unix_s, std::nullopt); }

TEST(AsfPropertiesTest, ReadsAnyTime) {
  EXPECT_EQ(Read(Properties(1, 1, 0))->creation_unix_s, -11'644'473'600);
  EXPECT_EQ(Read(Properties(1, ~std::uint64_t{0}, 0))->creation_unix_s, 1'833'029'933'770);
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
