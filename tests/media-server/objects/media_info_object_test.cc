#include "media-server/objects/media_info_object.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "media_server/imetadata.h"
#include "platform/text.h"

namespace media_server {
namespace {

using platform::ComPtr;

/// A file with two programs: the first has a picture and a subpicture stream, the second a sound stream.
std::shared_ptr<MediaDescription> Describe() {
  auto media = std::make_shared<MediaDescription>();
  media->format_fourcc = 0x2034504D;
  media->format_name = "mp4";
  media->format_long_name = "MP4 file";
  media->duration = 2.5;
  media->bit_rate = 1000;
  media->file_size = 123;
  media->date_text = "2024:1:2:3:4:5";
  media->streams.resize(3);
  StreamDescription& picture = media->streams[0];
  picture = {.kind = StreamKind::kPicture,
             .index = 0,
             .id = 11,
             .codec_tag = 0x31637661,
             .bit_rate = 500,
             .codec_name = "h264",
             .codec_long_name = "H.264",
             .language = "eng",
             .duration = 2.0,
             .profile = 100,
             .disposition = 1};
  picture.picture.width = 320;
  picture.orientation = kOrientation90;
  picture.properties.alpha_channel = 1;
  media->streams[1] = {
      .kind = StreamKind::kSubpicture, .index = 1, .id = 12, .codec_name = "ass", .language = "ger", .disposition = 64};
  media->streams[2] = {.kind = StreamKind::kSound, .index = 2, .id = 13, .codec_name = "aac"};
  media->streams[2].sound.channels = 2;
  media->programs = {{.number = 7, .duration = 2, .bit_rate = 400, .stream_count = 2, .streams = {0, 1}},
                     {.number = 8, .duration = 1, .bit_rate = 300, .stream_count = 1, .streams = {2}}};
  return media;
}

std::string TextOf(BSTR text) { return platform::ToUtf8(platform::SystemString(text).View()); }

template <typename Object>
std::string TextOf(Object& object, std::int32_t (Object::*get)(BSTR*)) {
  platform::SystemString text;
  EXPECT_EQ((object.*get)(text.Put()), platform::kOk);
  return platform::ToUtf8(text.View());
}

class MediaInfoObjectTest : public testing::Test {
 protected:
  ComPtr<IProgram> ProgramAt(std::uint32_t index) {
    ComPtr<IProgramCollection> programs;
    EXPECT_EQ(info_->GetPrograms(programs.Put()), platform::kOk);
    ComPtr<IProgram> program;
    EXPECT_EQ(programs->GetAt(index, program.Put()), platform::kOk);
    return program;
  }

  std::shared_ptr<MediaDescription> media_ = Describe();
  ComPtr<IMediaInfo> info_ = MakeMediaInfo(media_);
};

TEST_F(MediaInfoObjectTest, AnswersForTheFile) {
  EXPECT_EQ(info_->GetFormatFourCC(), 0x2034504Du);
  EXPECT_EQ(TextOf(*info_.Get(), &IMediaInfo::GetFormatName), "mp4");
  EXPECT_EQ(TextOf(*info_.Get(), &IMediaInfo::GetFormatLongName), "MP4 file");
  EXPECT_EQ(info_->GetDuration(), 2.5);
  EXPECT_EQ(info_->GetBitRate(), 1000u);
  EXPECT_EQ(info_->GetFileSize(), 123u);
  EXPECT_EQ(TextOf(*info_.Get(), &IMediaInfo::GetDateText), "2024:1:2:3:4:5");
  EXPECT_EQ(info_->GetDateText(nullptr), platform::kInvalidPointer);
  EXPECT_EQ(info_->GetPrograms(nullptr), platform::kInvalidPointer);
}

TEST_F(MediaInfoObjectTest, ListsItsPrograms) {
  ComPtr<IProgramCollection> programs;
  ASSERT_EQ(info_->GetPrograms(programs.Put()), platform::kOk);
  EXPECT_EQ(programs->GetCount(), 2);
  ComPtr<IProgram> none;
  EXPECT_EQ(programs->GetAt(2, none.Put()), platform::kInvalidArgument);
  EXPECT_FALSE(none);
  EXPECT_EQ(programs->GetAt(0, nullptr), platform::kInvalidPointer);
  const auto second = ProgramAt(1);
  EXPECT_EQ(second->GetNumber(), 8u);
  EXPECT_EQ(second->GetDuration(), 1);
  EXPECT_EQ(second->GetBitRate(), 300u);
  EXPECT_EQ(second->GetStreamCount(), 1u);
}

TEST_F(MediaInfoObjectTest, SortsAProgramsStreamsByKind) {
  const auto program = ProgramAt(0);
  ComPtr<IStreamList> pictures;
  ComPtr<IStreamList> sounds;
  ComPtr<ISubPicStreamList> subpictures;
  ASSERT_EQ(program->GetVideoStreamList(pictures.Put()), platform::kOk);
  ASSERT_EQ(program->GetAudioStreamList(sounds.Put()), platform::kOk);
  ASSERT_EQ(program->GetSubPicStreamList(subpictures.Put()), platform::kOk);
  EXPECT_EQ(pictures->GetCount(), 1);
  EXPECT_EQ(sounds->GetCount(), 0);
  ASSERT_EQ(subpictures->GetCount(), 1);
  ComPtr<ISubPicStream> subpicture;
  ASSERT_EQ(subpictures->GetAt(0, subpicture.Put()), platform::kOk);
  EXPECT_EQ(subpicture->GetIndex(), 1u);
  EXPECT_EQ(subpicture->GetId(), 12u);
  EXPECT_EQ(subpicture->GetDisposition(), 64u);
  EXPECT_EQ(TextOf(subpicture->GetCodecName()), "ass");
  EXPECT_EQ(TextOf(subpicture->GetLanguage()), "ger");
}

TEST_F(MediaInfoObjectTest, ListsOnlyTheStreamsOfItsKind) {
  media_->programs[0].streams = {1, 0, 1};
  const auto program = ProgramAt(0);
  ComPtr<ISubPicStreamList> subpictures;
  ASSERT_EQ(program->GetSubPicStreamList(subpictures.Put()), platform::kOk);
  EXPECT_EQ(subpictures->GetCount(), 2);
  ComPtr<ISubPicStream> subpicture;
  EXPECT_EQ(subpictures->GetAt(1, subpicture.Put()), platform::kOk);
  EXPECT_EQ(subpicture->GetIndex(), 1u);
  EXPECT_EQ(subpictures->GetAt(2, subpicture.Put()), platform::kInvalidArgument);
  EXPECT_FALSE(subpicture);
  EXPECT_EQ(subpictures->GetAt(0, nullptr), platform::kInvalidPointer);
  EXPECT_EQ(program->GetSubPicStreamList(nullptr), platform::kInvalidPointer);
}

TEST_F(MediaInfoObjectTest, AListIsAnObjectOfItsOwn) {
  ComPtr<IStreamList> pictures;
  ASSERT_EQ(ProgramAt(0)->GetVideoStreamList(pictures.Put()), platform::kOk);
  const auto object = pictures.Query<platform::IComObject>();
  EXPECT_EQ(object.Get(), pictures.Get());
  EXPECT_FALSE(pictures.Query<IMetadata>());
  EXPECT_EQ(pictures->QueryInterface(platform::IComObject::kInterfaceId, nullptr), platform::kInvalidPointer);
}

TEST_F(MediaInfoObjectTest, DescribesAPictureStream) {
  ComPtr<IStreamList> pictures;
  ProgramAt(0)->GetVideoStreamList(pictures.Put());
  ComPtr<IStream> stream;
  ASSERT_EQ(pictures->GetAt(0, stream.Put()), platform::kOk);
  EXPECT_EQ(stream->GetMediaType(), 2);
  EXPECT_EQ(stream->GetIndex(), 0u);
  EXPECT_EQ(stream->GetFourCC(), 0x31637661u);
  EXPECT_EQ(stream->GetBitRate(), 500u);
  EXPECT_EQ(TextOf(stream->GetCodecName()), "h264");
  EXPECT_EQ(TextOf(stream->GetCodecLongName()), "H.264");
  EXPECT_EQ(TextOf(stream->GetLanguage()), "eng");
  EXPECT_EQ(stream->GetDuration(), 2.0);
  EXPECT_EQ(stream->GetProfile(), 100);
  EXPECT_EQ(stream->GetAudioFormat(), nullptr);
  EXPECT_EQ(stream->GetVideoFormat()->width, 320u);
  EXPECT_EQ(stream->GetId(), 11u);
  EXPECT_EQ(stream->GetDisposition(), 1u);

  const auto video = stream.Query<IVideoStream>();
  ASSERT_TRUE(video);
  EXPECT_EQ(video->GetVideoFormat(), stream->GetVideoFormat());
  EXPECT_EQ(video->GetRotation(), 90);
  const auto properties = stream.Query<IPropertyReader>();
  ASSERT_TRUE(properties);
  std::int32_t alpha = 0;
  EXPECT_EQ(properties->GetProperty(u"KEY_QK_ALPHA_CHANNEL", &alpha), platform::kOk);
  EXPECT_EQ(alpha, 1);
  EXPECT_EQ(properties->GetProperty(u"KEY_QK_MATRIX_COEFFICIENTS", &alpha), platform::kFail);
  EXPECT_EQ(properties->GetProperty(nullptr, &alpha), platform::kInvalidPointer);
}

TEST_F(MediaInfoObjectTest, DescribesASoundStreamWithoutPictureInterfaces) {
  ComPtr<IStreamList> sounds;
  ProgramAt(1)->GetAudioStreamList(sounds.Put());
  ComPtr<IStream> stream;
  ASSERT_EQ(sounds->GetAt(0, stream.Put()), platform::kOk);
  EXPECT_EQ(stream->GetMediaType(), 3);
  EXPECT_EQ(stream->GetAudioFormat()->channels, 2u);
  EXPECT_EQ(stream->GetVideoFormat(), nullptr);
  EXPECT_EQ(stream->GetLanguage(), nullptr) << "not told";
  EXPECT_FALSE(stream.Query<IVideoStream>());
  EXPECT_FALSE(stream.Query<IPropertyReader>());
}

TEST_F(MediaInfoObjectTest, KeepsTheDescriptionAliveAsLongAsAnyObject) {
  ComPtr<IStreamList> pictures;
  ProgramAt(0)->GetVideoStreamList(pictures.Put());
  const std::weak_ptr<MediaDescription> watch = media_;
  media_.reset();
  info_.Reset();
  ComPtr<IStream> stream;
  pictures->GetAt(0, stream.Put());
  pictures.Reset();
  EXPECT_FALSE(watch.expired());
  stream.Reset();
  EXPECT_TRUE(watch.expired());
}

TEST_F(MediaInfoObjectTest, AnswersTags) {
  media_->tags = {.title = "Title",
                  .artist = "Artist",
                  .album = "Album",
                  .track_number = "3/8",
                  .genre = "Genre",
                  .publisher = "Publisher",
                  .actor = "Actor",
                  .maker = "Maker",
                  .model = "Model",
                  .aigc = "{}",
                  .location = GeoLocation{-33.5, 151.25},
                  .created = {},
                  .modified = {}};
  const auto metadata = info_.Query<IMetadata>();
  ASSERT_TRUE(metadata);
  EXPECT_EQ(TextOf(*metadata.Get(), &IMetadata::GetArtist), "Artist");
  EXPECT_EQ(TextOf(*metadata.Get(), &IMetadata::GetTitle), "Title");
  EXPECT_EQ(TextOf(*metadata.Get(), &IMetadata::GetTrackNumber), "3/8");
  EXPECT_EQ(TextOf(*metadata.Get(), &IMetadata::GetAlbum), "Album");
  EXPECT_EQ(TextOf(*metadata.Get(), &IMetadata::GetDate), "2024:1:2:3:4:5");
  EXPECT_EQ(TextOf(*metadata.Get(), &IMetadata::GetGenre), "Genre");
  EXPECT_EQ(TextOf(*metadata.Get(), &IMetadata::GetPublisher), "Publisher");
  EXPECT_EQ(TextOf(*metadata.Get(), &IMetadata::GetMaker), "Maker");
  EXPECT_EQ(TextOf(*metadata.Get(), &IMetadata::GetModel), "Model");
  EXPECT_EQ(metadata->GetGpsLatitude(), 33.5);
  EXPECT_EQ(metadata->GetGpsLongitude(), 151.25);
}

class KeyedTextTest : public testing::Test {
 protected:
  static std::string Read(const MediaTags& tags, const char16_t* key, std::int32_t status = platform::kOk) {
    auto media = std::make_shared<MediaDescription>();
    media->tags = tags;
    const auto metadata = MakeMediaInfo(media).Query<IMetadata>();
    platform::SystemString text;
    EXPECT_EQ(metadata->GetText(key, text.Put()), status);
    return platform::ToUtf8(text.View());
  }
  static MediaTags At(double latitude, double longitude) {
    MediaTags tags;
    tags.location = GeoLocation{latitude, longitude};
    return tags;
  }
};

TEST_F(KeyedTextTest, NamesTheHemispheres) {
  EXPECT_EQ(Read(At(1, 1), u"KEY_QK_METADATAINFO_GPSLATITUDEREF"), "N");
  EXPECT_EQ(Read(At(-1, 1), u"KEY_QK_METADATAINFO_GPSLATITUDEREF"), "S");
  EXPECT_EQ(Read(At(1, 1), u"KEY_QK_METADATAINFO_GPSLONGITUDEREF"), "E");
  EXPECT_EQ(Read(At(1, -1), u"KEY_QK_METADATAINFO_GPSLONGITUDEREF"), "W");
  EXPECT_EQ(Read({}, u"KEY_QK_METADATAINFO_GPSLATITUDEREF"), "");
}

TEST_F(KeyedTextTest, GivesTheArtistAndElseTheActor) {
  MediaTags tags;
  tags.actor = "B";
  EXPECT_EQ(Read(tags, u"KEY_QK_METADATAINFO_ACTOR"), "B");
  tags.artist = "A";
  EXPECT_EQ(Read(tags, u"KEY_QK_METADATAINFO_ACTOR"), "A");
}

TEST_F(KeyedTextTest, GivesTheLabelAsItStands) {
  MediaTags tags;
  tags.aigc = "{\"AIGC\": {\"Label\": \"1\"}}";
  EXPECT_EQ(Read(tags, u"KEY_QK_METADATAINFO_AIGC"), tags.aigc);
}

TEST_F(KeyedTextTest, GivesTheKindOfTransparencyThatIsTold) {
  auto media = std::make_shared<MediaDescription>();
  media->tags.alpha_mode = 2;
  const auto metadata = MakeMediaInfo(media).Query<IMetadata>();
  std::int32_t number = 5;
  EXPECT_EQ(metadata->GetInteger(u"KEY_QK_XMP_METADATAINFO_ALPHA_MODE", &number), platform::kOk);
  EXPECT_EQ(number, 2);
  EXPECT_EQ(metadata->GetInteger(u"KEY_QK_XMP_METADATAINFO_OTHER", &number), platform::kFail);
}

TEST_F(KeyedTextTest, RefusesAnUnknownKey) {
  EXPECT_EQ(Read({}, u"KEY_QK_METADATAINFO_OTHER", platform::kFail), "");
  const auto metadata = MakeMediaInfo(std::make_shared<MediaDescription>()).Query<IMetadata>();
  std::int32_t number = 5;
  EXPECT_EQ(metadata->GetInteger(u"KEY_QK_XMP_METADATAINFO_ALPHA_MODE", &number), platform::kFail);
  EXPECT_EQ(number, 5);
  EXPECT_EQ(metadata->GetText(nullptr, nullptr), platform::kInvalidPointer);
}

}  // namespace
}  // namespace media_server
