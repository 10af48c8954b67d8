#include "media-server/objects/property_table.h"

#include <gtest/gtest.h>

#include "platform/system_string.h"

namespace media_server {
namespace {

TEST(PropertyTableTest, DeliversEveryPropertyUnderItsKey) {
  PictureProperties properties;
  properties.transfer_characteristics = 1;
  properties.matrix_coefficients = 2;
  properties.alpha_channel = 3;
  properties.format_settings_cabac = 4;
  properties.format_settings_ref_frame = 5;
  properties.is_truncated = 6;
  properties.is_dolby_vision = 7;
  properties.count_of_views = 8;
  properties.full_idr = 9;
  properties.clean_aperture_width = 10;
  properties.clean_aperture_height = 11;
  properties.clean_aperture_xoff = 12;
  properties.clean_aperture_yoff = 13;
  properties.frame_view_3d_mode = 14;
  properties.frame_view_3d_angle = 15;
  const struct {
    const char16_t* key;
    std::int32_t value;
  } kExpected[] = {
      {u"KEY_QK_TRANSFER_CHARACTERISTICS", 1},
      {u"KEY_QK_MATRIX_COEFFICIENTS", 2},
      {u"KEY_QK_ALPHA_CHANNEL", 3},
      {u"KEY_QK_FORMAT_SETTINGS_CABAC", 4},
      {u"KEY_QK_FORMAT_SETTINGS_REFFRAME", 5},
      {u"KEY_QK_IS_TRUNCATED", 6},
      {u"KEY_QK_IS_DOLBYVISION", 7},
      {u"KEY_QK_VIDEO_COUNT_OF_VIEWS", 8},
      {u"KEY_QK_VIDEO_FULL_IDR", 9},
      {u"KEY_QK_CLEANAPERTURE_WIDTH", 10},
      {u"KEY_QK_CLEANAPERTURE_HEIGHT", 11},
      {u"KEY_QK_CLEANAPERTURE_XOFF", 12},
      {u"KEY_QK_CLEANAPERTURE_YOFF", 13},
      {u"KEY_Frame_View_3D_Mode", 14},
      {u"KEY_Frame_View_3D_Angle", 15},
  };
  for (const auto& [key, value] : kExpected) {
    std::int32_t out = -1;
    EXPECT_TRUE(DeliverProperty(properties, key, &out));
    EXPECT_EQ(out, value);
  }
}

TEST(PropertyTableTest, DeliversRatesAndTexts) {
  PictureProperties properties;
  properties.max_frame_rate = 59.94;
  properties.format_profile = "High@L4.1";
  properties.format_settings_gop = "M=1, N=12";
  double rate = 0;
  EXPECT_TRUE(DeliverProperty(properties, u"KEY_QK_MAX_FRAMERATE", &rate));
  EXPECT_EQ(rate, 59.94);
  platform::SystemString profile;
  EXPECT_TRUE(DeliverProperty(properties, u"KEY_QK_FORMAT_PROFILE", profile.Put()));
  EXPECT_EQ(profile.View(), u"High@L4.1");
  platform::SystemString gop;
  EXPECT_TRUE(DeliverProperty(properties, u"KEY_QK_FORMAT_SETTINGS_GOP", gop.Put()));
  EXPECT_EQ(gop.View(), u"M=1, N=12");
}

TEST(PropertyTableTest, LeavesTheOutputAloneForWhatIsNotTold) {
  std::int32_t out = 77;
  EXPECT_FALSE(DeliverProperty(PictureProperties(), u"KEY_QK_ALPHA_CHANNEL", &out));
  EXPECT_FALSE(DeliverProperty(PictureProperties(), u"KEY_QK_UNKNOWN", &out));
  EXPECT_FALSE(DeliverProperty(PictureProperties(), u"", &out));
  EXPECT_EQ(out, 77);
}

}  // namespace
}  // namespace media_server
