#include "service-mediainfo/media_info/stream_info_impl.h"

#include "fakes/fixture.h"
#include "fakes/media.h"
#include "mediainfo/metedata_keys.h"

namespace service::mediainfo::media_info::impl {
namespace {

class StreamInfoImplTest : public fakes::Fixture {
 protected:
  bool IsStored(const char* key) {
    core::ValAny value;
    return info_.GetMetadataInfo()->GetValue(key, &value);
  }

  fakes::MediaInfo source_;
  fakes::PictureStream picture_{1920, 1080, 250};
  fakes::SoundStream sound_;
  fakes::PropertyReader reader_;
  StreamInfoImpl info_;
};

TEST_F(StreamInfoImplTest, RefusesANullStream) {
  EXPECT_EQ(info_.Init(&source_, nullptr), 7u);
  EXPECT_EQ(info_.Init(nullptr, nullptr), 7u);
}

TEST_F(StreamInfoImplTest, HasAStoreFromTheStart) { EXPECT_NE(info_.GetMetadataInfo(), nullptr); }

TEST_F(StreamInfoImplTest, HoldsOneReferenceToAPictureStreamAndNoneToItsInterfaces) {
  picture_.Offer(reader_);
  ASSERT_EQ(info_.Init(&source_, &picture_), 0u);
  EXPECT_EQ(picture_.references(), 1);
  EXPECT_EQ(picture_.video.references(), 0);
  EXPECT_EQ(reader_.references(), 0);
  info_ = StreamInfoImpl();
  EXPECT_EQ(picture_.references(), 0);
}

TEST_F(StreamInfoImplTest, GivesTheVideoInterfaceBackBeforeItAsksForTheProperties) {
  std::vector<std::string> calls;
  picture_.Offer(reader_);
  picture_.video.TraceIn(calls, "video");
  reader_.TraceIn(calls, "reader");
  ASSERT_EQ(info_.Init(&source_, &picture_), 0u);
  EXPECT_EQ(calls, (std::vector<std::string>{"video +", "video -", "reader +", "reader -"}));
}

TEST_F(StreamInfoImplTest, DescribesAPicture) {
  picture_.video.rotation = 90;
  ASSERT_EQ(info_.Init(&source_, &picture_), 0u);
  ASSERT_NE(info_.GetVideoInfo(), nullptr);
  EXPECT_EQ(info_.GetVideoInfo()->GetWidth(), 1920u);
  EXPECT_EQ(info_.GetVideoInfo()->GetRotation(), 1u);
  EXPECT_EQ(info_.GetAudioInfo(), nullptr);
  EXPECT_EQ(info_.GetMediaType(), 2);
  EXPECT_EQ(picture_.video.asked, "format rotation ");
}

TEST_F(StreamInfoImplTest, HandsTheSourceToThePicture) {
  source_.four_cc = media_server::kStackedAlphaMp4;
  ASSERT_EQ(info_.Init(&source_, &picture_), 0u);
  EXPECT_EQ(info_.GetVideoInfo()->GetHeight(), 540u);
}

TEST_F(StreamInfoImplTest, DescribesASound) {
  sound_.sound->channels = 6;
  ASSERT_EQ(info_.Init(nullptr, &sound_), 0u);
  ASSERT_NE(info_.GetAudioInfo(), nullptr);
  EXPECT_EQ(info_.GetAudioInfo()->GetAudioField4(), 6u);
  EXPECT_EQ(info_.GetVideoInfo(), nullptr);
  EXPECT_EQ(sound_.references(), 1);
}

TEST_F(StreamInfoImplTest, NeverReadsPropertiesOfASound) {
  reader_.integers[u"KEY_QK_TRANSFER_CHARACTERISTICS"] = 1;
  sound_.Offer(reader_);
  ASSERT_EQ(info_.Init(&source_, &sound_), 0u);
  EXPECT_TRUE(reader_.asked.empty());
  EXPECT_FALSE(IsStored(metedata_keys::kVideoTransferCharacteristics));
}

TEST_F(StreamInfoImplTest, RefusesASoundWithoutFormatRecord) {
  sound_.sound.reset();
  EXPECT_EQ(info_.Init(&source_, &sound_), 7u);
  EXPECT_EQ(sound_.references(), 0);
}

TEST_F(StreamInfoImplTest, RefusesAPictureWithoutVideoInterface) {
  picture_.Withdraw();
  EXPECT_EQ(info_.Init(&source_, &picture_), 7u);
  picture_.AnswerQueriesWithNull();
  EXPECT_EQ(info_.Init(&source_, &picture_), 7u);
  EXPECT_EQ(picture_.references(), 0);
}

TEST_F(StreamInfoImplTest, RefusesAPictureWithoutFormatRecord) {
  picture_.video.format.reset();
  EXPECT_EQ(info_.Init(&source_, &picture_), 7u);
  EXPECT_EQ(picture_.video.asked, "format ");
  EXPECT_EQ(picture_.video.references(), 0);
  EXPECT_EQ(picture_.references(), 0);
}

TEST_F(StreamInfoImplTest, LogsAnUnknownMediaType) {
  picture_.media_type = 4;
  EXPECT_EQ(info_.Init(&source_, &picture_), 7u);
  EXPECT_EQ(picture_.references(), 0);
  EXPECT_EQ(fakes::TakeLog(),
            (std::vector<fakes::LogLine>{{"service", 6, "mediainfo",
                                          "ptr_MetedataInfoiMPL_ is null: %s %d "
                                          "failed!|service::mediainfo::media_info::impl::StreamInfoImpl::Init|312"}}));
}

TEST_F(StreamInfoImplTest, SucceedsWithoutPropertyReader) {
  ASSERT_EQ(info_.Init(&source_, &picture_), 0u);
  EXPECT_FALSE(IsStored(metedata_keys::kVideoAlphaChannel));
}

TEST_F(StreamInfoImplTest, StoresThePropertiesOfAPicture) {
  reader_.integers[u"KEY_QK_ALPHA_CHANNEL"] = 0;
  picture_.Offer(reader_);
  ASSERT_EQ(info_.Init(&source_, &picture_), 0u);
  core::ValAny value;
  ASSERT_TRUE(info_.GetMetadataInfo()->GetValue(metedata_keys::kVideoAlphaChannel, &value));
  EXPECT_EQ(value.AsInt32(), 0);
}

TEST_F(StreamInfoImplTest, StoresTheAlphaOfAStackedAlphaSource) {
  source_.four_cc = media_server::kStackedAlphaMp4;
  reader_.integers[u"KEY_QK_ALPHA_CHANNEL"] = 0;
  picture_.Offer(reader_);
  ASSERT_EQ(info_.Init(&source_, &picture_), 0u);
  core::ValAny value;
  ASSERT_TRUE(info_.GetMetadataInfo()->GetValue(metedata_keys::kVideoAlphaChannel, &value));
  EXPECT_EQ(value.AsInt32(), 1);
}

TEST_F(StreamInfoImplTest, ForwardsTheStreamsValues) {
  sound_.index = 4;
  sound_.four_cc = 5;
  sound_.bit_rate = 6;
  sound_.profile = -99;
  sound_.id = 14;
  sound_.disposition = 15;
  sound_.duration = 2.5;
  ASSERT_EQ(info_.Init(&source_, &sound_), 0u);
  EXPECT_EQ(info_.GetMediaType(), 3);
  EXPECT_EQ(info_.GetStreamValue4(), 4u);
  EXPECT_EQ(info_.GetFourCC(), 5u);
  EXPECT_EQ(info_.GetStreamValue6(), 6u);
  EXPECT_EQ(info_.GetStreamValue11(), -99);
  EXPECT_EQ(info_.GetStreamValue14(), 14u);
  EXPECT_EQ(info_.GetStreamValue15(), 15u);
  EXPECT_EQ(info_.GetDuration(), 25'000'000u);
}

TEST_F(StreamInfoImplTest, AnswersTheFixedOperations) {
  EXPECT_EQ(info_.Reserved10(), 0u);
  EXPECT_EQ(info_.FixedValue14(), 2u);
  EXPECT_EQ(info_.FixedValue15(), 2u);
  EXPECT_EQ(info_.UnsupportedRequest16(), 6u);
  EXPECT_EQ(info_.UnsupportedRequest17(), 6u);
}

TEST_F(StreamInfoImplTest, KeepsEachTextApart) {
  sound_.codec_name = u"aac";
  sound_.codec_long_name = u"Advanced Audio Coding";
  ASSERT_EQ(info_.Init(&source_, &sound_), 0u);
  EXPECT_STREQ(info_.GetTextA(), "aac");
  EXPECT_STREQ(info_.GetTextB(), "Advanced Audio Coding");
  EXPECT_STREQ(info_.GetTextC(), "");
  sound_.language = u"eng";
  EXPECT_STREQ(info_.GetTextC(), "eng");
  sound_.codec_name = sound_.codec_long_name = sound_.language = u"other";
  EXPECT_STREQ(info_.GetTextA(), "aac");
  EXPECT_STREQ(info_.GetTextB(), "Advanced Audio Coding");
  EXPECT_STREQ(info_.GetTextC(), "eng");
  EXPECT_EQ(sound_.text_questions, 4);
}

TEST_F(StreamInfoImplTest, LendsTheStoreBeyondItsOwnLife) {
  std::shared_ptr<IMetedataInfo> store;
  {
    StreamInfoImpl info;
    store = info.GetMetadataInfo();
    EXPECT_EQ(info.GetMetadataInfo(), store);
  }
  EXPECT_EQ(store.use_count(), 1);
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
