#include "media-server/image/mng.h"

#include <gtest/gtest.h>

#include <string>

#include "media-server/image/fourcc.h"
#include "tests/media-server/image/read_picture.h"

namespace media_server::image {
namespace {

using namespace std::string_literals;

/// Signature; length, type; size, ticks per second, layers, frames, play time, profile.
std::string File(unsigned ticks_per_second, unsigned play_time) {
  return "\x8AMNG\r\n\x1A\n"s + Be(28, 4) + "MHDR" + Be(122, 4) + Be(76, 4) + Be(ticks_per_second, 4) + Zeros(8) +
         Be(play_time, 4) + Be(1, 4);
}

TEST(Mng, TellsSizeAndPlayTime) {
  const auto headers = ReadPicture(File(1000, 2500));
  ExpectSize(headers, 122, 76);
  EXPECT_EQ(headers->fourcc, FourCC("MNG "));
  ASSERT_TRUE(headers->animation);
  EXPECT_DOUBLE_EQ(headers->animation->duration_s, 2.5);
}

TEST(Mng, TellsNoDurationWhereNoneIsTold) {
  EXPECT_FALSE(ReadPicture(File(0, 2500))->animation);
  EXPECT_FALSE(ReadPicture(File(1000, 0))->animation);
  EXPECT_FALSE(ReadPicture(File(1000, 0x7FFFFFFF))->animation) << "for ever";
}

TEST(Mng, RefusesAHeaderThatIsCutShort) {
  const std::string file = File(1000, 2500);
  for (std::size_t size = 0; size < file.size(); ++size) EXPECT_FALSE(ReadPicture(file.substr(0, size))) << size;
  EXPECT_FALSE(ReadPicture(file.substr(0, 12) + "JHDR" + file.substr(16)));
}

}  // namespace
}  // namespace media_server::image
