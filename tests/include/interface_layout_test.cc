#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "core/boxed_obj.h"
#include "core/rational.h"
#include "core/ref_cnt.h"
#include "media_server/imedia_server.h"
#include "media_server/imetadata.h"
#include "mediainfo/aigc_meta.h"
#include "mediainfo/iimage_info.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/imeta_data_info.h"
#include "mediainfo/imetedata_info.h"
#include "mediainfo/isvg_info.h"
#include "mediauuid/imedia_uuid.h"
#include "service/iconfig.h"
#include "service/iservice.h"
#include "service/iservice_manager.h"
#include "service/isvg_decode_sink.h"

// What modules, hosts and libraries that were built apart from each other count on: the place of each operation in its
// interface's table, identifiers, and the fields of records. Both sides of every other test are built from the same
// headers and would agree on any order.
namespace {

// The tables of the Itanium C++ ABI; other platforms lay theirs out in the same order.

/// The place of a virtual operation in its table.
template <typename Operation>
std::size_t PlaceInTable(Operation operation) {
  const auto words = std::bit_cast<std::array<std::uintptr_t, 2>>(operation);
  // The offset in the table; a bit tells that it is one, here or, on ARM, in the other word.
  return (words[0] & ~std::uintptr_t{1}) / sizeof(void*);
}

/// The number of an operation; a virtual destructor has number 0, and takes up two places here.
template <typename Interface, typename Result, typename... Arguments>
std::size_t NumberOf(Result (Interface::*operation)(Arguments...)) {
  return PlaceInTable(operation) - (std::has_virtual_destructor_v<Interface> ? 1 : 0);
}

template <typename Interface, typename Result, typename... Arguments>
std::size_t NumberOf(Result (Interface::*operation)(Arguments...) const) {
  return PlaceInTable(operation) - (std::has_virtual_destructor_v<Interface> ? 1 : 0);
}

template <typename... Operations>
void ExpectNumbersFrom(std::size_t first, Operations... operations) {
  std::size_t expected = first;
  for (const std::size_t number : {NumberOf(operations)...}) EXPECT_EQ(number, expected++);
}

TEST(InterfaceLayoutTest, NumbersTheOperationsOfServices) {
  using service::IService;
  ExpectNumbersFrom(1, &IService::FirstStateQuery, &IService::SecondStateQuery, &IService::CreateSession,
                    &IService::DestroySession, &IService::CreateSharedSession, &IService::KeyedQuery,
                    &IService::KeyedRequest, &IService::ReleaseSharedSession, &IService::FinalQuery);
  EXPECT_EQ(NumberOf(&service::IConfig::GetString), 4u);
  using service::IServiceManager;
  EXPECT_EQ(NumberOf(&IServiceManager::AcquireService), 8u);
  using service::ISVGDecodeSink;
  EXPECT_EQ(NumberOf(&ISVGDecodeSink::Reset), 2u);
  EXPECT_EQ(NumberOf(&ISVGDecodeSink::Load), 6u);
  EXPECT_EQ(NumberOf(&ISVGDecodeSink::SetSource), 8u);
  EXPECT_EQ(NumberOf(&ISVGDecodeSink::GetSize), 10u);
  EXPECT_EQ(NumberOf(&ISVGDecodeSink::GetViewSize), 12u);
  EXPECT_EQ(NumberOf(&ISVGDecodeSink::Render), 15u);
}

TEST(InterfaceLayoutTest, NumbersTheOperationsOfMediaFiles) {
  using service::mediainfo::IMediaFileInfo;
  ExpectNumbersFrom(0, &IMediaFileInfo::SetURL, &IMediaFileInfo::GetFormatFourCC, &IMediaFileInfo::GetFormatName,
                    &IMediaFileInfo::GetFormatLongName, &IMediaFileInfo::GetMetadata, &IMediaFileInfo::GetDuration,
                    &IMediaFileInfo::GetBitRate, &IMediaFileInfo::GetProgramCount, &IMediaFileInfo::GetProgram,
                    &IMediaFileInfo::GetFileSize, &IMediaFileInfo::Clone, &IMediaFileInfo::ClearKeepFlag,
                    &IMediaFileInfo::GetStreamType, &IMediaFileInfo::GetDates, &IMediaFileInfo::SetEncryptKey);
  using service::mediainfo::IProgramInfo;
  ExpectNumbersFrom(1, &IProgramInfo::GetProgramValue4, &IProgramInfo::GetDuration, &IProgramInfo::GetProgramValue6,
                    &IProgramInfo::GetVideoStreamCount, &IProgramInfo::GetAudioStreamCount,
                    &IProgramInfo::GetVideoStream, &IProgramInfo::GetAudioStream, &IProgramInfo::GetProgramValue7,
                    &IProgramInfo::GetSubPicStreamCount, &IProgramInfo::GetSubPicStream);
}

TEST(InterfaceLayoutTest, NumbersTheOperationsOfMetadata) {
  using service::mediainfo::IMetedataInfo;
  ExpectNumbersFrom(1, &IMetedataInfo::GetValue, &IMetedataInfo::SetValue);
  using service::mediainfo::IMetaDataInfo;
  ExpectNumbersFrom(1, &IMetaDataInfo::GetArtist, &IMetaDataInfo::GetTitle, &IMetaDataInfo::GetTrackNumber,
                    &IMetaDataInfo::GetAlbum, &IMetaDataInfo::GetDate, &IMetaDataInfo::GetGenre,
                    &IMetaDataInfo::GetPublisher, &IMetaDataInfo::GetShow, &IMetaDataInfo::GetReleaseDate,
                    &IMetaDataInfo::GetActor, &IMetaDataInfo::GetDirector, &IMetaDataInfo::GetProducer,
                    &IMetaDataInfo::GetScreenwriter, &IMetaDataInfo::GetTagline, &IMetaDataInfo::GetDescription,
                    &IMetaDataInfo::GetComment, &IMetaDataInfo::GetTvnetwork, &IMetaDataInfo::GetMaker,
                    &IMetaDataInfo::GetModel, &IMetaDataInfo::GetGpsLatitude, &IMetaDataInfo::GetGpsLongitude,
                    &IMetaDataInfo::GetGpsLatitudeRef, &IMetaDataInfo::GetGpsLongitudeRef, &IMetaDataInfo::GetVideoKind,
                    &IMetaDataInfo::Reserved25, &IMetaDataInfo::Reserved26, &IMetaDataInfo::GetImageData,
                    &IMetaDataInfo::GetContentRating, &IMetaDataInfo::GetDefinition, &IMetaDataInfo::GetAigcMeta,
                    &IMetaDataInfo::GetAlphaMode);
}

TEST(InterfaceLayoutTest, NumbersTheOperationsOfStreams) {
  using service::mediainfo::IStreamInfo;
  ExpectNumbersFrom(1, &IStreamInfo::GetMediaType, &IStreamInfo::GetStreamValue4, &IStreamInfo::GetFourCC,
                    &IStreamInfo::GetStreamValue6, &IStreamInfo::GetTextA, &IStreamInfo::GetTextB,
                    &IStreamInfo::GetDuration, &IStreamInfo::GetStreamValue11, &IStreamInfo::GetVideoInfo,
                    &IStreamInfo::Reserved10, &IStreamInfo::GetAudioInfo, &IStreamInfo::GetStreamValue14,
                    &IStreamInfo::GetStreamValue15, &IStreamInfo::FixedValue14, &IStreamInfo::FixedValue15,
                    &IStreamInfo::UnsupportedRequest16, &IStreamInfo::UnsupportedRequest17,
                    &IStreamInfo::GetMetadataInfo, &IStreamInfo::GetTextC);
  using service::mediainfo::IVideoInfo;
  ExpectNumbersFrom(1, &IVideoInfo::GetWidth, &IVideoInfo::GetHeight, &IVideoInfo::GetFrameRate,
                    &IVideoInfo::GetFrameCount, &IVideoInfo::GetFormatField20, &IVideoInfo::GetFormatField24,
                    &IVideoInfo::GetFormatField32, &IVideoInfo::GetFormatCode, &IVideoInfo::GetFormatField40,
                    &IVideoInfo::GetFormatField44, &IVideoInfo::GetFormatField48, &IVideoInfo::GetFormatField52,
                    &IVideoInfo::GetRotation, &IVideoInfo::GetFlip, &IVideoInfo::GetFormatFlag,
                    &IVideoInfo::GetFormatField56, &IVideoInfo::GetFormatField132);
  using service::mediainfo::IAudioInfo;
  ExpectNumbersFrom(1, &IAudioInfo::GetAudioField0, &IAudioInfo::GetAudioField4, &IAudioInfo::Reserved3,
                    &IAudioInfo::GetAudioField12, &IAudioInfo::GetAudioValue, &IAudioInfo::GetAudioFormatCode,
                    &IAudioInfo::GetAudioField8, &IAudioInfo::GetAudioFormatFlag);
  using service::mediainfo::ISubPicStreamInfo;
  ExpectNumbersFrom(1, &ISubPicStreamInfo::GetSubPicValue3, &ISubPicStreamInfo::GetSubPicValue4,
                    &ISubPicStreamInfo::GetSubPicValue5, &ISubPicStreamInfo::GetSubPicTextA,
                    &ISubPicStreamInfo::GetSubPicTextB);
}

TEST(InterfaceLayoutTest, NumbersTheOperationsOfImagesSvgsAndUuids) {
  using service::mediainfo::IImageInfo;
  ExpectNumbersFrom(1, &IImageInfo::SetPath, &IImageInfo::GetWidth, &IImageInfo::GetHeight, &IImageInfo::SetDuration,
                    &IImageInfo::GetDuration, &IImageInfo::SetFrameRate, &IImageInfo::GetFrameRate,
                    &IImageInfo::GetWidthSecondEntry, &IImageInfo::GetHeightSecondEntry, &IImageInfo::Reserved10,
                    &IImageInfo::Reserved11, &IImageInfo::GetMetadata);
  using service::mediainfo::ISvgInfo;
  ExpectNumbersFrom(1, &ISvgInfo::SetPath, &ISvgInfo::GetSize, &ISvgInfo::GetViewSize, &ISvgInfo::Render,
                    &ISvgInfo::GetWidth, &ISvgInfo::GetHeight, &ISvgInfo::Reserved7, &ISvgInfo::Reserved8);
  using service::mediauuid::IMediaUuid;
  ExpectNumbersFrom(0, &IMediaUuid::GetUuid, &IMediaUuid::GetUuidText);
}

TEST(InterfaceLayoutTest, NumbersTheOperationsOfTheMediaServer) {
  using platform::IComObject;
  ExpectNumbersFrom(0, &IComObject::QueryInterface, &IComObject::AddRef, &IComObject::Release);
  using media_server::IMediaServer;
  EXPECT_EQ(NumberOf(&IMediaServer::SetOption), 3u);
  EXPECT_EQ(NumberOf(&IMediaServer::GetMediaInfo), 5u);
  EXPECT_EQ(NumberOf(&IMediaServer::QueryImage), 6u);
  EXPECT_EQ(NumberOf(&media_server::ICodecComponent::OpenMediaInfo), 5u);
  using media_server::IMediaInfo;
  ExpectNumbersFrom(3, &IMediaInfo::GetFormatFourCC, &IMediaInfo::GetFormatName, &IMediaInfo::GetFormatLongName,
                    &IMediaInfo::GetDuration, &IMediaInfo::GetBitRate, &IMediaInfo::GetPrograms,
                    &IMediaInfo::GetFileSize, &IMediaInfo::GetDateText);
  using media_server::IMetadata;
  ExpectNumbersFrom(3, &IMetadata::GetArtist, &IMetadata::GetTitle, &IMetadata::GetTrackNumber, &IMetadata::GetAlbum,
                    &IMetadata::GetDate, &IMetadata::GetGenre, &IMetadata::GetPublisher, &IMetadata::GetInteger,
                    &IMetadata::GetText, &IMetadata::GetMaker, &IMetadata::GetModel, &IMetadata::GetGpsLatitude,
                    &IMetadata::GetGpsLongitude);
}

TEST(InterfaceLayoutTest, NumbersTheOperationsOfTheMediaServersStreams) {
  using media_server::IProgram;
  ExpectNumbersFrom(4, &IProgram::GetNumber, &IProgram::GetDuration, &IProgram::GetBitRate, &IProgram::GetStreamCount,
                    &IProgram::GetVideoStreamList, &IProgram::GetAudioStreamList, &IProgram::GetSubPicStreamList);
  ExpectNumbersFrom(3, &media_server::IProgramCollection::GetCount, &media_server::IProgramCollection::GetAt);
  ExpectNumbersFrom(3, &media_server::IStreamList::GetCount, &media_server::IStreamList::GetAt);
  using media_server::IStream;
  ExpectNumbersFrom(3, &IStream::GetMediaType, &IStream::GetIndex, &IStream::GetFourCC, &IStream::GetBitRate,
                    &IStream::GetCodecName, &IStream::GetCodecLongName, &IStream::GetLanguage, &IStream::GetDuration,
                    &IStream::GetProfile, &IStream::GetAudioFormat, &IStream::GetVideoFormat, &IStream::GetId,
                    &IStream::GetDisposition);
  using media_server::ISubPicStream;
  ExpectNumbersFrom(3, &ISubPicStream::GetIndex, &ISubPicStream::GetId, &ISubPicStream::GetDisposition,
                    &ISubPicStream::GetCodecName, &ISubPicStream::GetLanguage);
  EXPECT_EQ(NumberOf(&media_server::IVideoStream::GetVideoFormat), 3u);
  EXPECT_EQ(NumberOf(&media_server::IVideoStream::GetRotation), 6u);
  EXPECT_EQ(NumberOf(&media_server::IPropertyReader::GetProperty), 3u);
}

TEST(InterfaceLayoutTest, PutsTheDestructorOfACountedSessionBehindItsCounting) {
  class Session;
  using RefCnt = core::RefCnt<Session>;
  EXPECT_EQ(PlaceInTable(&RefCnt::AddRef), 0u);
  EXPECT_EQ(PlaceInTable(&RefCnt::Release), 1u);
}

TEST(InterfaceLayoutTest, NumbersTheOperationsOfBoxedValues) {
  using core::detail::IBoxedObj;
  ExpectNumbersFrom(1, &IBoxedObj::IsValid, &IBoxedObj::Clone);
}

TEST(InterfaceLayoutTest, KnowsInterfacesByTheirIdentifiers) {
  using platform::Guid;
  EXPECT_EQ(platform::IComObject::kInterfaceId, (Guid{0, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}}));
  EXPECT_EQ(media_server::IMetadata::kInterfaceId,
            (Guid{0x80DEF872, 0x887D, 0x4426, {0xB3, 0x1B, 0x77, 0x10, 0x11, 0xCF, 0x34, 0x27}}));
  EXPECT_EQ(media_server::IVideoStream::kInterfaceId,
            (Guid{0xA9AF814A, 0x6F97, 0x4A81, {0x94, 0x53, 0x40, 0x70, 0xEE, 0xC7, 0x61, 0xBB}}));
  EXPECT_EQ(media_server::IPropertyReader::kInterfaceId,
            (Guid{0x79F61287, 0xF585, 0x4026, {0x93, 0x5B, 0xC3, 0x37, 0x4C, 0x0D, 0x5B, 0xC4}}));
}

TEST(InterfaceLayoutTest, LaysOutRecords) {
  using core::Rational;
  EXPECT_EQ(offsetof(Rational, numerator), 0u);
  EXPECT_EQ(offsetof(Rational, denominator), 8u);
  EXPECT_EQ(sizeof(Rational), 16u);

  using service::mediainfo::metedata_keys::AIGC_META;
  EXPECT_EQ(offsetof(AIGC_META, text), 0u);
  EXPECT_EQ(offsetof(AIGC_META, length), sizeof(void*));
}

TEST(InterfaceLayoutTest, LaysOutTheImageRecord) {
  using imagecore::QkImageInfo;
  EXPECT_EQ(offsetof(QkImageInfo, flags), 0u);
  EXPECT_EQ(offsetof(QkImageInfo, flip), 4u);
  EXPECT_EQ(offsetof(QkImageInfo, picture_type), 8u);
  EXPECT_EQ(offsetof(QkImageInfo, width), 12u);
  EXPECT_EQ(offsetof(QkImageInfo, height), 16u);
  EXPECT_EQ(offsetof(QkImageInfo, rotation), 20u);
  EXPECT_EQ(offsetof(QkImageInfo, gif_frame_rate_num), 24u);
  EXPECT_EQ(offsetof(QkImageInfo, gif_frame_rate_den), 28u);
  EXPECT_EQ(offsetof(QkImageInfo, sequence_total_frames), 32u);
  EXPECT_EQ(offsetof(QkImageInfo, gps_latitude), 40u);
  EXPECT_EQ(offsetof(QkImageInfo, gps_longitude), 48u);
  EXPECT_EQ(offsetof(QkImageInfo, exposure_time_s), 56u);
  EXPECT_EQ(offsetof(QkImageInfo, sequence_duration_s), 64u);
  EXPECT_EQ(offsetof(QkImageInfo, webp_duration_s), 72u);
  EXPECT_EQ(offsetof(QkImageInfo, gif_duration_s), 80u);
  EXPECT_EQ(offsetof(QkImageInfo, avif_duration_s), 88u);
  EXPECT_EQ(offsetof(QkImageInfo, date), 96u);
  EXPECT_EQ(offsetof(QkImageInfo, camera_maker), 352u);
  EXPECT_EQ(offsetof(QkImageInfo, camera_model), 608u);
  EXPECT_EQ(offsetof(QkImageInfo, gps_latitude_ref), 864u);
  EXPECT_EQ(offsetof(QkImageInfo, gps_longitude_ref), 1120u);
  EXPECT_EQ(offsetof(QkImageInfo, fourcc), 1376u);
  EXPECT_EQ(offsetof(QkImageInfo, aigc_size), 1380u);
  EXPECT_EQ(offsetof(QkImageInfo, aigc_data), 1384u);
  EXPECT_EQ(offsetof(QkImageInfo, alpha_mode), 1396u);
  EXPECT_EQ(sizeof(QkImageInfo), 1424u);
}

TEST(InterfaceLayoutTest, LaysOutFormatRecords) {
  using media_server::PictureFormat;
  EXPECT_EQ(offsetof(PictureFormat, width), 0u);
  EXPECT_EQ(offsetof(PictureFormat, height), 4u);
  EXPECT_EQ(offsetof(PictureFormat, frame_rate), 8u);
  EXPECT_EQ(offsetof(PictureFormat, frame_count), 16u);
  EXPECT_EQ(offsetof(PictureFormat, display_width), 20u);
  EXPECT_EQ(offsetof(PictureFormat, display_height), 24u);
  EXPECT_EQ(offsetof(PictureFormat, field_order), 32u);
  EXPECT_EQ(offsetof(PictureFormat, flags), 36u);
  EXPECT_EQ(offsetof(PictureFormat, chroma), 40u);
  EXPECT_EQ(offsetof(PictureFormat, bit_depth), 44u);
  EXPECT_EQ(offsetof(PictureFormat, color_primaries), 48u);
  EXPECT_EQ(offsetof(PictureFormat, color_range), 52u);
  EXPECT_EQ(offsetof(PictureFormat, bit_rate), 56u);
  EXPECT_EQ(offsetof(PictureFormat, level), 132u);

  using media_server::SoundFormat;
  EXPECT_EQ(offsetof(SoundFormat, sample_rate), 0u);
  EXPECT_EQ(offsetof(SoundFormat, channels), 4u);
  EXPECT_EQ(offsetof(SoundFormat, bits_per_sample), 8u);
  EXPECT_EQ(offsetof(SoundFormat, bit_rate), 12u);
  EXPECT_EQ(offsetof(SoundFormat, sample_rate_hz), 16u);
  EXPECT_EQ(offsetof(SoundFormat, flags), 24u);
}

}  // namespace
