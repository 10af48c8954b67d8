#include "probe/picture_name.h"

#include <gtest/gtest.h>

namespace mediaprobe {
namespace {

TEST(PictureName, ExtensionsOfPicturesInAnyLetterCase) {
  for (const char* path : {"/v/a.jpg", "/v/a.JPEG", "/v/a.b.Png", ".webp"}) EXPECT_TRUE(IsNamedLikeAPicture(path));
  for (const char* path : {"/v/a.mp4", "/v/a.svg", "/v.png/a", "/v/png", "/v/a.", "/v/a.pngx", ""}) {
    EXPECT_FALSE(IsNamedLikeAPicture(path)) << path;
  }
}

}  // namespace
}  // namespace mediaprobe
