#include "probe/picture_sequence.h"

#include <gtest/gtest.h>

namespace mediaprobe {
namespace {

TEST(PictureSequence, PatternsHoldNumbersAndRanges) {
  for (const char* path : {"/v/img_[0001-0100].png", "/v/[1].png", "[1-3,7,10-12]", "/v/a[b]_[3].png"}) {
    EXPECT_TRUE(IsSequencePattern(path)) << path;
  }
  for (const char* path :
       {"/v/a.png", "/v/a[].png", "/v/a[x].png", "/v/a[1-].png", "/v/a[-1].png", "/v/a[1-2-3].png", "/v/a[1,].png",
        "/v/a[,1].png", "/v/a[1,,2].png", "/v/a[1 2].png", "/v/a]1[.png", "/v/a[1.png", "/v/a1].png", ""}) {
    EXPECT_FALSE(IsSequencePattern(path)) << path;
  }
}

TEST(PictureSequence, BracketsStandInTheName) {
  EXPECT_FALSE(IsSequencePattern("/v[1-3]/a.png"));
  EXPECT_FALSE(IsSequencePattern("/v[1/3]a.png"));
}

TEST(PictureSequence, FirstFrameHasTheFirstNumberAsItIsWritten) {
  EXPECT_EQ(FirstFrame("/v/img_[0001-0100].png"), "/v/img_0001.png");
  EXPECT_EQ(FirstFrame("/v/img_[7].png"), "/v/img_7.png");
  EXPECT_EQ(FirstFrame("/v/img_[1-3,7].png"), "/v/img_1.png");
  EXPECT_EQ(FirstFrame("/v/img_[5,7-9].png"), "/v/img_5.png");
  EXPECT_EQ(FirstFrame("/v/img.png"), "/v/img.png");
}

TEST(PictureSequence, SeveralRanges) {
  EXPECT_TRUE(HasSeveralRanges("/v/[1-3,7].png"));
  EXPECT_FALSE(HasSeveralRanges("/v,w/[1-3].png"));
  EXPECT_FALSE(HasSeveralRanges("/v/[a,b].png"));
}

}  // namespace
}  // namespace mediaprobe
