#include "service-mediainfo/media_info/program_info_impl.h"

#include "fakes/fixture.h"
#include "fakes/media.h"

namespace service::mediainfo::media_info::impl {
namespace {

using StreamList = fakes::List<media_server::IStream>;
using SubPicList = fakes::List<media_server::ISubPicStream>;

class ProgramInfoImplTest : public fakes::Fixture {
 protected:
  std::uint32_t Init() { return info_.Init(&source_, &program_); }

  std::uint32_t VideoWidth(std::uint32_t index) {
    IStreamInfo* stream = nullptr;
    EXPECT_EQ(info_.GetVideoStream(index, &stream), 0u);
    return stream ? stream->GetVideoInfo()->GetWidth() : 0;
  }

  void ExpectNothingKept() {
    EXPECT_EQ(info_.GetVideoStreamCount(), 0u);
    EXPECT_EQ(info_.GetAudioStreamCount(), 0u);
    EXPECT_EQ(info_.GetSubPicStreamCount(), 0u);
    EXPECT_EQ(program_.references(), 0);
    EXPECT_EQ(first_.references(), 0);
    EXPECT_EQ(second_.references(), 0);
    EXPECT_EQ(sound_.references(), 0);
    EXPECT_EQ(subpic_.references(), 0);
    EXPECT_EQ(video_list_.references(), 0);
    EXPECT_EQ(audio_list_.references(), 0);
    EXPECT_EQ(subpic_list_.references(), 0);
  }

  static fakes::LogLine InvalidStreamLine(const std::string& values) {
    return {"mediainfo", 5, "stream index %d is invalid, total frames %d, size(%dx%d)", values};
  }

  fakes::MediaInfo source_;
  fakes::PictureStream first_{640, 480, 100};
  fakes::PictureStream second_{1280, 720, 200};
  fakes::SoundStream sound_;
  fakes::SubPicStream subpic_;
  StreamList video_list_{&first_, &second_};
  StreamList audio_list_{&sound_};
  SubPicList subpic_list_{&subpic_};
  fakes::Program program_;
  ProgramInfoImpl info_;
};

class FullProgramInfoImplTest : public ProgramInfoImplTest {
 protected:
  FullProgramInfoImplTest() {
    program_.video = &video_list_;
    program_.audio = &audio_list_;
    program_.subpic = &subpic_list_;
  }
};

TEST_F(ProgramInfoImplTest, RefusesANullProgram) {
  EXPECT_EQ(info_.Init(&source_, nullptr), 7u);
  EXPECT_EQ(info_.Init(nullptr, nullptr), 7u);
}

TEST_F(ProgramInfoImplTest, IsEmptyBeforeInit) {
  IStreamInfo* stream = nullptr;
  ISubPicStreamInfo* subpic = nullptr;
  EXPECT_EQ(info_.GetVideoStreamCount(), 0u);
  EXPECT_EQ(info_.GetAudioStreamCount(), 0u);
  EXPECT_EQ(info_.GetSubPicStreamCount(), 0u);
  EXPECT_EQ(info_.GetVideoStream(0, &stream), 6u);
  EXPECT_EQ(info_.GetAudioStream(0, &stream), 6u);
  EXPECT_EQ(info_.GetSubPicStream(0, &subpic), 6u);
}

TEST_F(ProgramInfoImplTest, SucceedsWithoutAnyList) {
  EXPECT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStreamCount(), 0u);
  EXPECT_EQ(info_.GetAudioStreamCount(), 0u);
  EXPECT_EQ(info_.GetSubPicStreamCount(), 0u);
  EXPECT_EQ(program_.references(), 1);
}

TEST_F(ProgramInfoImplTest, SucceedsWithListsThatAreGivenAsNull) {
  program_.missing_list_status = platform::kOk;
  EXPECT_EQ(Init(), 0u);
}

TEST_F(ProgramInfoImplTest, SucceedsWithEmptyLists) {
  StreamList no_video;
  StreamList no_audio;
  SubPicList no_subpic;
  no_audio.on_count = [] { return -1; };
  program_.video = &no_video;
  program_.audio = &no_audio;
  program_.subpic = &no_subpic;
  EXPECT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStreamCount() + info_.GetAudioStreamCount() + info_.GetSubPicStreamCount(), 0u);
}

TEST_F(FullProgramInfoImplTest, DescribesAllStreamsInOrder) {
  sound_.sound->channels = 2;
  subpic_.id = 9;
  ASSERT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStreamCount(), 2u);
  EXPECT_EQ(VideoWidth(0), 640u);
  EXPECT_EQ(VideoWidth(1), 1280u);

  ASSERT_EQ(info_.GetAudioStreamCount(), 1u);
  IStreamInfo* stream = nullptr;
  ASSERT_EQ(info_.GetAudioStream(0, &stream), 0u);
  EXPECT_EQ(stream->GetAudioInfo()->GetAudioField4(), 2u);

  ASSERT_EQ(info_.GetSubPicStreamCount(), 1u);
  ISubPicStreamInfo* subpic = nullptr;
  ASSERT_EQ(info_.GetSubPicStream(0, &subpic), 0u);
  EXPECT_EQ(subpic->GetSubPicValue4(), 9u);
}

TEST_F(FullProgramInfoImplTest, HoldsOneReferenceToTheProgramAndToEachStream) {
  {
    ProgramInfoImpl info;
    ASSERT_EQ(info.Init(&source_, &program_), 0u);
    EXPECT_EQ(program_.references(), 1);
    EXPECT_EQ(first_.references(), 1);
    EXPECT_EQ(second_.references(), 1);
    EXPECT_EQ(sound_.references(), 1);
    EXPECT_EQ(subpic_.references(), 1);
    EXPECT_EQ(video_list_.references(), 0);
    EXPECT_EQ(audio_list_.references(), 0);
    EXPECT_EQ(subpic_list_.references(), 0);
  }
  EXPECT_EQ(program_.references(), 0);
  EXPECT_EQ(first_.references(), 0);
}

TEST_F(FullProgramInfoImplTest, HoldsAListAndAStreamUntilTheNextOrTheEnd) {
  std::vector<std::string>& calls = source_.asked;  // outlives the description
  video_list_.items = {&first_};
  video_list_.TraceIn(calls, "pictures");
  audio_list_.TraceIn(calls, "sounds");
  subpic_list_.TraceIn(calls, "subpictures");
  sound_.TraceIn(calls, "sound");
  subpic_.TraceIn(calls, "subpicture");
  program_.TraceIn(calls, "program");
  ASSERT_EQ(Init(), 0u);
  EXPECT_EQ(calls, (std::vector<std::string>{"pictures +", "pictures -", "sounds +", "sound +", "sound +",
                                             "subpictures +", "subpicture +", "subpicture +", "program +",
                                             "subpictures -", "subpicture -", "sounds -", "sound -"}));
}

TEST_F(FullProgramInfoImplTest, RefusesAnIndexPastTheEndAndLeavesTheOutPointer) {
  ASSERT_EQ(Init(), 0u);
  auto* const untouched_stream = reinterpret_cast<IStreamInfo*>(this);
  auto* const untouched_subpic = reinterpret_cast<ISubPicStreamInfo*>(this);
  for (const std::uint32_t index : {2u, 0xFFFFFFFFu}) {
    IStreamInfo* stream = untouched_stream;
    EXPECT_EQ(info_.GetVideoStream(index, &stream), 6u);
    EXPECT_EQ(info_.GetAudioStream(index - 1, &stream), 6u);
    EXPECT_EQ(stream, untouched_stream);
    ISubPicStreamInfo* subpic = untouched_subpic;
    EXPECT_EQ(info_.GetSubPicStream(index - 1, &subpic), 6u);
    EXPECT_EQ(subpic, untouched_subpic);
  }
}

TEST_F(FullProgramInfoImplTest, TellsAMissingOutPointer) {
  ASSERT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStream(0, nullptr), 4u);
  EXPECT_EQ(info_.GetAudioStream(0, nullptr), 4u);
  EXPECT_EQ(info_.GetSubPicStream(0, nullptr), 4u);
  EXPECT_EQ(info_.GetVideoStream(2, nullptr), 6u);
}

TEST_F(ProgramInfoImplTest, ForwardsTheProgramsValues) {
  program_.number = 4;
  program_.bit_rate = 6;
  program_.stream_count = 7;
  program_.duration = 2.5;
  ASSERT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetProgramValue4(), 4u);
  EXPECT_EQ(info_.GetProgramValue6(), 6u);
  EXPECT_EQ(info_.GetProgramValue7(), 7u);
  EXPECT_EQ(info_.GetDuration(), 25'000'000u);
  program_.duration = 2.9999999999;
  EXPECT_EQ(info_.GetDuration(), 30'000'000u);
}

struct PictureSize {
  std::uint32_t width;
  std::uint32_t height;
  std::uint32_t frame_count;
  const char* logged;
};

class ProgramInfoImplInvalidPictureTest : public FullProgramInfoImplTest,
                                          public testing::WithParamInterface<PictureSize> {};

TEST_P(ProgramInfoImplInvalidPictureTest, IsLoggedAndLeftOut) {
  first_.picture->width = GetParam().width;
  first_.picture->height = GetParam().height;
  first_.picture->frame_count = GetParam().frame_count;
  ASSERT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStreamCount(), 1u);
  EXPECT_EQ(VideoWidth(0), 1280u);
  EXPECT_EQ(first_.references(), 0);
  EXPECT_EQ(fakes::TakeLog(), std::vector{InvalidStreamLine(GetParam().logged)});
}

INSTANTIATE_TEST_SUITE_P(Zeros, ProgramInfoImplInvalidPictureTest,
                         testing::Values(PictureSize{0, 480, 100, "100|0|480"}, PictureSize{640, 0, 100, "100|640|0"},
                                         PictureSize{640, 480, 0, "0|640|480"}));

TEST_F(FullProgramInfoImplTest, KeepsPicturesOfAnyOtherSizeAndCount) {
  *first_.picture = {.width = 0x10000, .height = 0x10000, .frame_count = 0x10000};
  *second_.picture = {.width = 0xFFFFFFFF, .height = 1, .frame_count = 0x80000000};
  ASSERT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStreamCount(), 2u);
}

TEST_F(FullProgramInfoImplTest, LeavesOutAPictureWithoutFormatRecord) {
  first_.picture.reset();
  ASSERT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStreamCount(), 1u);
  EXPECT_EQ(fakes::TakeLog(), std::vector{InvalidStreamLine("0|0|0")});
}

TEST_F(FullProgramInfoImplTest, KeepsSideStreamsWhateverTheirRecordSays) {
  first_.picture = media_server::PictureFormat{};
  for (const std::uint32_t code : {0x6279656Bu, 0x6563696Du, 0x6B72616Du}) {
    first_.four_cc = code;
    ProgramInfoImpl info;
    ASSERT_EQ(info.Init(&source_, &program_), 0u);
    EXPECT_EQ(info.GetVideoStreamCount(), 2u);
  }
}

TEST_F(FullProgramInfoImplTest, NeverTestsSoundsForAPicture) {
  sound_.picture = media_server::PictureFormat{};
  ASSERT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetAudioStreamCount(), 1u);
}

TEST_F(FullProgramInfoImplTest, FailsWhenAPictureCannotBeDescribed) {
  second_.Withdraw();
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
  EXPECT_EQ(fakes::TakeLog(),
            (std::vector<fakes::LogLine>{
                {"mediainfo", 5, "Init StreamInfoImpl: %s %d failed!",
                 "Init StreamInfoImpl: service::mediainfo::media_info::impl::ProgramInfoImpl::Init 127 failed!"}}));
}

TEST_F(FullProgramInfoImplTest, FailsSilentlyWhenASoundCannotBeDescribed) {
  sound_.sound.reset();
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
}

TEST_F(FullProgramInfoImplTest, FailsWhenAStreamCannotBeHad) {
  video_list_.failing_index = 1;
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
  video_list_.failing_index.reset();
  audio_list_.failing_index = 0;
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
  audio_list_.failing_index.reset();
  subpic_list_.failing_index = 0;
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
}

TEST_F(FullProgramInfoImplTest, TakesListsThatComeWithAFailureForMissing) {
  program_.list_status = platform::kFail;
  EXPECT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStreamCount() + info_.GetAudioStreamCount() + info_.GetSubPicStreamCount(), 0u);
  EXPECT_EQ(video_list_.references(), 0);
  EXPECT_EQ(subpic_list_.references(), 0);
}

TEST_F(FullProgramInfoImplTest, FailsOnAStreamThatComesWithAFailure) {
  video_list_.status = platform::kFail;
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
  video_list_.status = platform::kOk;
  audio_list_.status = platform::kFail;
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
  audio_list_.status = platform::kOk;
  subpic_list_.status = platform::kFail;
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
}

TEST_F(FullProgramInfoImplTest, TakesAnyStatusThatIsNotNegativeForSuccess) {
  program_.list_status = video_list_.status = audio_list_.status = subpic_list_.status = 1;
  EXPECT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStreamCount(), 2u);
  EXPECT_EQ(info_.GetAudioStreamCount(), 1u);
  EXPECT_EQ(info_.GetSubPicStreamCount(), 1u);
}

TEST_F(FullProgramInfoImplTest, FailsOnANullStream) {
  video_list_.items = {&first_, nullptr};
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
  video_list_.items = {&first_};
  audio_list_.items = {nullptr};
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
  audio_list_.items = {};
  subpic_list_.items = {&subpic_, nullptr};
  EXPECT_EQ(Init(), 7u);
  ExpectNothingKept();
}

TEST_F(FullProgramInfoImplTest, AFailureLeavesWhatWasThere) {
  ASSERT_EQ(Init(), 0u);
  fakes::Program failing;
  StreamList failing_list{nullptr};
  failing.audio = &failing_list;
  EXPECT_EQ(info_.Init(&source_, &failing), 7u);
  EXPECT_EQ(info_.GetVideoStreamCount(), 2u);
  EXPECT_EQ(info_.GetAudioStreamCount(), 1u);
  EXPECT_EQ(info_.GetSubPicStreamCount(), 1u);
  EXPECT_EQ(program_.references(), 1);
}

TEST_F(FullProgramInfoImplTest, AsksForTheCountAfterEveryStream) {
  int questions = 0;
  video_list_.on_count = [&questions] { return ++questions < 3 ? 2 : 1; };
  audio_list_.on_count = [asked = 0]() mutable { return asked++ == 0 ? 5 : 1; };
  ASSERT_EQ(Init(), 0u);
  EXPECT_EQ(info_.GetVideoStreamCount(), 2u);
  EXPECT_EQ(info_.GetAudioStreamCount(), 1u);
}

}  // namespace
}  // namespace service::mediainfo::media_info::impl
