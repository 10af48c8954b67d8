#include "media-server/codec/profile_names.h"

#include <gtest/gtest.h>

#include <string_view>

namespace media_server::codec {
namespace {

using enum ProfiledCodec;

struct Case {
  ProfiledCodec codec;
  std::optional<int> profile;
  std::optional<int> level;
  std::optional<bool> high_tier;
  std::string_view text;
};

constexpr std::optional<int> kUnknown;
constexpr std::optional<bool> kNoTier;

constexpr Case kCases[] = {
    {kH264, 100, 41, kNoTier, "High@L4.1"},
    {kH264, 100, 40, kNoTier, "High@L4"},
    {kH264, 77, 9, kNoTier, "Main@L1b"},
    {kH264, 122 + 2048, 40, kNoTier, "High 4:2:2 Intra@L4"},
    {kH264, 578, 62, kNoTier, "Constrained Baseline@L6.2"},
    {kH264, 100, 63, kNoTier, "High"},
    {kH264, 100, 0, kNoTier, "High"},
    {kH264, 100, kUnknown, kNoTier, "High"},
    {kH264, 86, 31, kNoTier, "Scalable High@L3.1"},
    {kH264, 135, 40, kNoTier, "MFC Depth High@L4"},
    {kH264, 99, 41, kNoTier, ""},
    {kH264, kUnknown, 41, kNoTier, ""},
    {kHevc, 2, 153, false, "Main 10@L5.1@Main"},
    {kHevc, 1, 120, true, "Main@L4@High"},
    {kHevc, 4, 93, kNoTier, "Format Range@L3.1"},
    {kHevc, 1, 255, false, "Main@L8.5@Main"},
    {kHevc, 1, 121, true, "Main"},
    {kVvc, 1, 83, false, "Main 10@L5.1@Main"},
    {kAv1, 0, 9, false, "Main@L4.1"},
    {kAv1, 2, 0, kNoTier, "Professional@L2"},
    {kAv1, 0, 31, false, "Main"},
    {kVp9, 0, 31, kNoTier, "Profile 0"},
    {kMpeg2, 4, 4, kNoTier, "Main@High"},
    {kMpeg2, 4, 6, kNoTier, "Main@High 1440"},
    {kMpeg2, 0, 2, kNoTier, "4:2:2@High"},
    {kMpeg2, 0, 5, kNoTier, "4:2:2@Main"},
    {kMpeg2, 4, 5, kNoTier, "Main"},
    {kMpeg4Visual, 15, 5, kNoTier, "Advanced Simple@L5"},
    {kMpeg4Visual, 15, 7, kNoTier, "Advanced Simple@L3b"},
    {kMpeg4Visual, 0, 9, kNoTier, "Simple@L0b"},
    {kMpeg4Visual, 0, 4, kNoTier, "Simple@L4a"},
    {kMpeg4Visual, 0, 0, kNoTier, "Simple@L0"},
    {kMpeg4Visual, 15, 8, kNoTier, "Fine Granularity Scalable@L0"},
    {kMpeg4Visual, 15, 13, kNoTier, "Fine Granularity Scalable@L5"},
    {kMpeg4Visual, 15, 6, kNoTier, "Advanced Simple"},
    {kMpeg4Visual, 6, 2, kNoTier, "Simple Face Animation@L2"},
    {kMpeg4Visual, 6, 3, kNoTier, "Simple FBA@L1"},
    {kMpeg4Visual, 14, 4, kNoTier, "Simple Studio@L4"},
    {kMpeg4Visual, 14, 5, kNoTier, "Core Studio@L1"},
    {kProRes, 3, -99, kNoTier, "422 HQ"},
    {kVc1, 3, 3, kNoTier, "Advanced@L3"},
    {kVc1, 1, 3, kNoTier, "Main"},
    {kDnxhd, 0, -99, kNoTier, "DNXHD"},
    {kDnxhd, 2, -99, kNoTier, "DNXHR SQ"},
    {kDnxhd, 6, -99, kNoTier, ""},
    {kMjpeg, 192, -99, kNoTier, "Baseline"},
    {kMjpeg, 194, 1, kNoTier, "Progressive"},
    {kMjpeg, 0, -99, kNoTier, ""},
};

TEST(ProfileText, WritesProfileLevelAndTier) {
  for (const Case& item : kCases) {
    PictureParameters picture;
    picture.profile = item.profile;
    picture.level = item.level;
    picture.high_tier = item.high_tier;
    EXPECT_EQ(ProfileText(item.codec, picture), item.text);
  }
}

TEST(ProfileText, NeverExceedsTheSpaceOfItsReaders) {
  PictureParameters picture;
  picture.high_tier = true;
  for (const auto codec : {kH264, kHevc, kVvc, kAv1, kVp9, kMpeg2, kMpeg4Visual, kProRes, kVc1, kDnxhd, kMjpeg}) {
    for (int profile = 0; profile < 4096; ++profile) {
      for (int level = 0; level < 256; ++level) {
        picture.profile = profile;
        picture.level = level;
        const std::size_t size = ProfileText(codec, picture).size();
        ASSERT_LE(size, 64U) << profile << " " << level;
        if (size == 0) break;
      }
    }
  }
}

}  // namespace
}  // namespace media_server::codec
