#include "service-mediainfo/media_info/subpic_stream_info_impl.h"

#include "fakes/fixture.h"
#include "fakes/media.h"

namespace service::mediainfo::media_info::impl {
namespace {

class SubPicStreamInfoImplTest : public fakes::Fixture {
 protected:
  fakes::SubPicStream stream_;
};

TEST_F(SubPicStreamInfoImplTest, RefusesANullStream) {
  SubPicStreamInfoImpl info;
  EXPECT_EQ(info.Init(nullptr), 7u);
}

TEST_F(SubPicStreamInfoImplTest, HoldsOneReferenceUntilItDies) {
  {
    SubPicStreamInfoImpl info;
    ASSERT_EQ(info.Init(&stream_), 0u);
    EXPECT_EQ(stream_.references(), 1);
  }
  EXPECT_EQ(stream_.references(), 0);
}

TEST_F(SubPicStreamInfoImplTest, ForwardsTheNumbers) {
  stream_.index = 3;
  stream_.id = 4;
  stream_.disposition = 5;
  SubPicStreamInfoImpl info;
  ASSERT_EQ(info.Init(&stream_), 0u);
  EXPECT_EQ(info.GetSubPicValue3(), 3u);
  EXPECT_EQ(info.GetSubPicValue4(), 4u);
  EXPECT_EQ(info.GetSubPicValue5(), 5u);
}

TEST_F(SubPicStreamInfoImplTest, KeepsTheTexts) {
  stream_.codec_name = u"ass";
  stream_.language = u"deu";
  SubPicStreamInfoImpl info;
  ASSERT_EQ(info.Init(&stream_), 0u);
  EXPECT_STREQ(info.GetSubPicTextA(), "ass");
  EXPECT_STREQ(info.GetSubPicTextB(), "deu");
  stream_.codec_name.reset();
  stream_.language.reset();
  EXPECT_STREQ(info.GetSubPicTextA(), "ass");
  EXPECT_STREQ(info.GetSubPicTextB(), "deu");
  EXPECT_EQ(stream_.text_questions, 2);
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
