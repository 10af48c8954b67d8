#include "media-server/probe/media_prober.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "media-server/container/id3v2.h"
#include "mediainfo/iaudio_info.h"
#include "mediainfo/ivideo_info.h"
#include "tests/media-server/codec/bit_writer.h"
#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/sample_file.h"

namespace media_server::probe {
namespace {

using service::mediainfo::kAudioEncrypted;
using service::mediainfo::kAudioLossless;
using service::mediainfo::kVideoHighDynamicRange;
using service::mediainfo::kVideoInterlaced;

constexpr const char* kSamples[] = {"upright.mp4", "hdr.mov",   "languages.mkv", "web.webm",  "programs.ts",
                                    "tape.avi",    "live.flv",  "song.mp3",      "song.flac", "song.opus",
                                    "song.m4a",    "voice.wav", "surround.ac3"};

std::unique_ptr<MediaDescription> ProbeSource(IByteSource& source, std::string* reason, const std::string& key = "") {
  BoundedSource bounded(source, ReadBudget());
  return ProbeMedia(bounded, key, reason);
}

std::unique_ptr<MediaDescription> Probe(std::vector<std::uint8_t> bytes, std::string* reason,
                                        const std::string& key = "") {
  MemorySource source(std::move(bytes));
  return ProbeSource(source, reason, key);
}

MediaDescription ProbeSample(const std::string& name) {
  std::string reason;
  const auto media = Probe(ReadSample(name), &reason);
  EXPECT_NE(media, nullptr) << name << ": " << reason;
  return media ? *media : MediaDescription();
}

std::string FourCC(std::uint32_t code) {
  std::string text;
  for (int shift = 0; shift < 32; shift += 8) text += static_cast<char>(code >> shift & 0xFF);
  return text;
}

TEST(MediaProberTest, DescribesAnMp4File) {
  const MediaDescription media = ProbeSample("upright.mp4");
  EXPECT_EQ(media.format_name, "mp4");
  EXPECT_EQ(FourCC(media.format_fourcc), "MP4 ");
  EXPECT_EQ(media.file_size, 49'142u);
  EXPECT_DOUBLE_EQ(media.duration, 2.002);
  EXPECT_EQ(media.bit_rate, 196'371u);
  ASSERT_EQ(media.programs.size(), 1u);
  EXPECT_EQ(media.programs[0].number, 1u);
  ASSERT_EQ(media.streams.size(), 2u);

  const StreamDescription& picture = media.streams[0];
  EXPECT_EQ(picture.kind, StreamKind::kPicture);
  EXPECT_EQ(picture.id, 1u);
  EXPECT_EQ(FourCC(picture.codec_tag), "avc1");
  EXPECT_EQ(picture.codec_name, "h264");
  EXPECT_EQ(picture.profile, 100);
  EXPECT_EQ(picture.disposition, 1u);
  EXPECT_EQ(picture.picture.width, 320u);
  EXPECT_EQ(picture.picture.height, 180u);
  EXPECT_EQ(picture.picture.display_width, 320);
  EXPECT_NEAR(picture.picture.frame_rate, 29.97, 0.001);
  EXPECT_EQ(picture.picture.frame_count, 60u);
  EXPECT_EQ(picture.picture.field_order, 1);
  EXPECT_EQ(picture.picture.chroma, 420);
  EXPECT_EQ(picture.picture.bit_depth, 8);
  EXPECT_EQ(picture.picture.color_primaries, 1);
  EXPECT_EQ(picture.picture.level, 13);
  EXPECT_EQ(picture.picture.flags, 0u);
  EXPECT_EQ(picture.orientation, kOrientation90);
  EXPECT_EQ(picture.properties.transfer_characteristics, 1);
  EXPECT_EQ(picture.properties.format_profile, "High@L1.3");
  EXPECT_EQ(picture.properties.format_settings_cabac, 1);
  EXPECT_NEAR(picture.properties.max_frame_rate.value(), 29.97, 0.001);
  EXPECT_EQ(picture.properties.full_idr, 1);
  EXPECT_EQ(picture.properties.is_truncated, 0);

  const StreamDescription& sound = media.streams[1];
  EXPECT_EQ(sound.kind, StreamKind::kSound);
  EXPECT_EQ(sound.codec_name, "aac");
  EXPECT_EQ(sound.profile, 1);
  EXPECT_EQ(sound.language, "eng");
  EXPECT_EQ(sound.sound.sample_rate, 44'100u);
  EXPECT_EQ(sound.sound.channels, 2u);
  EXPECT_EQ(sound.sound.bits_per_sample, 0u);
}

TEST(MediaProberTest, DescribesHighDynamicRange) {
  const MediaDescription media = ProbeSample("hdr.mov");
  EXPECT_EQ(media.format_name, "mov");
  const StreamDescription& picture = media.streams.at(0);
  EXPECT_EQ(picture.codec_name, "hevc");
  EXPECT_EQ(picture.picture.bit_depth, 10);
  EXPECT_EQ(picture.picture.color_primaries, 9);
  EXPECT_EQ(picture.picture.color_range, 1);
  EXPECT_EQ(picture.properties.transfer_characteristics, 16);
  EXPECT_EQ(picture.properties.matrix_coefficients, 9);
  EXPECT_EQ(picture.picture.flags, kVideoHighDynamicRange);
  const StreamDescription& sound = media.streams.at(1);
  EXPECT_EQ(sound.sound.bits_per_sample, 16u);
  EXPECT_EQ(sound.sound.bit_rate, 768'000u);
  EXPECT_EQ(sound.sound.flags, kAudioLossless);
}

TEST(MediaProberTest, DescribesSubpicturesAndLanguages) {
  const MediaDescription media = ProbeSample("languages.mkv");
  ASSERT_EQ(media.streams.size(), 5u);
  EXPECT_EQ(media.streams[0].picture.frame_count, 51u);
  EXPECT_EQ(media.streams[1].language, "eng");
  EXPECT_EQ(media.streams[2].language, "ger");
  EXPECT_EQ(media.streams[3].kind, StreamKind::kSubpicture);
  EXPECT_EQ(media.streams[3].codec_name, "subrip");
  EXPECT_EQ(media.streams[4].codec_name, "ass");
  EXPECT_EQ(media.streams[4].disposition, 64u) << "forced";
}

// The first language of three letters in languages.mkv, with its element's id and size in front.
std::vector<std::uint8_t> WithFirstLanguage(std::string_view element) {
  std::vector<std::uint8_t> file = ReadSample("languages.mkv");
  constexpr std::uint8_t kLanguage[] = {0x22, 0xB5, 0x9C, 0x83};
  const auto first = std::ranges::search(file, kLanguage).begin();
  EXPECT_NE(first, file.end());
  std::ranges::copy(element, first);
  return file;
}

TEST(MediaProberTest, ALanguageTagIsToldWhereThereIsNoOtherLanguage) {
  const auto streams_of = [](std::string_view element, std::string_view language) {
    std::string reason;
    const auto media = Probe(WithFirstLanguage(element), &reason);
    return media ? std::ranges::count(media->streams, language, &StreamDescription::language) : -1;
  };
  EXPECT_EQ(streams_of("\x22\xB5\x9C\x83yue", "yue"), 1);
  EXPECT_EQ(streams_of("\x22\xB5\x9D\x83yue", "yue"), 1) << "libavformat has English here";
  EXPECT_EQ(streams_of("\x22\xB5\x9D\x83und", "und"), 0);
}

TEST(MediaProberTest, GivesTheContainersOwnIds) {
  const MediaDescription matroska = ProbeSample("languages.mkv");
  ASSERT_EQ(matroska.streams.size(), 5u);
  for (std::size_t i = 0; i < 5; ++i) EXPECT_EQ(matroska.streams[i].id, i + 1);
  for (const StreamDescription& stream : ProbeSample("live.flv").streams) {
    EXPECT_EQ(stream.id, stream.kind == StreamKind::kSound ? 8u : 9u) << "the type of the tags";
  }
}

TEST(MediaProberTest, ACleanApertureMayBeLargerThanThePicture) {
  std::vector<std::uint8_t> file = ReadSample("upright.mp4");
  constexpr std::string_view kFirst = "colr";  // three boxes of 55 bytes in all make room
  const auto type = std::ranges::search(file, kFirst).begin();
  ASSERT_NE(type, file.end());
  const std::string one = Be(1, 4);
  const std::string aperture =
      Be(40, 4) + "clap" + Be(400, 4) + one + Be(200, 4) + one + Be(0, 4) + one + Be(0, 4) + one;
  std::ranges::copy(aperture + Be(15, 4) + "free" + Zeros(7), type - 4);
  std::string reason;
  const auto media = Probe(file, &reason);
  ASSERT_NE(media, nullptr) << reason;
  ASSERT_EQ(media->streams.size(), 2u);
  EXPECT_EQ(media->streams[0].picture.width, 320u);
  EXPECT_EQ(media->streams[0].properties.clean_aperture_width, 400);
  EXPECT_EQ(media->streams[0].properties.clean_aperture_height, 200);
}

TEST(MediaProberTest, TracksThatAreNoStreamsMoveTheOthers) {
  std::vector<std::uint8_t> file = ReadSample("languages.mkv");
  constexpr std::uint8_t kPictures[] = {0x83, 0x81, 1};
  const auto type = std::ranges::search(file, kPictures).begin();
  ASSERT_NE(type, file.end());
  for (const std::uint8_t other : {std::uint8_t{0x12}, std::uint8_t{2}}) {  // buttons; sound, which its codec is not
    type[2] = other;
    std::string reason;
    const auto media = Probe(file, &reason);
    ASSERT_NE(media, nullptr) << reason;
    ASSERT_EQ(media->streams.size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) EXPECT_EQ(media->streams[i].id, i + 2);
  }
}

// The file with other bytes at `offset` of the payload of each box of a type.
std::vector<std::uint8_t> WithInEach(std::vector<std::uint8_t> file, std::string_view type, std::ptrdiff_t offset,
                                     const std::string& bytes) {
  constexpr std::ptrdiff_t kType = 4;
  const auto next = [&](auto from) { return std::search(from, file.end(), type.begin(), type.end()); };
  for (auto at = next(file.begin()); at != file.end(); at = next(at + kType)) {
    std::ranges::copy(bytes, at + kType + offset);
  }
  return file;
}

TEST(MediaProberTest, TimesAnMp4FileWhoseTracksTellNoLength) {
  constexpr std::ptrdiff_t kMediaDuration = 16;
  constexpr std::ptrdiff_t kFirstEdit = 8;
  const std::vector<std::uint8_t> told = ReadSample("upright.mp4");
  const auto zero = WithInEach(told, "mdhd", kMediaDuration, Be(0, 4));
  const auto unknown = WithInEach(told, "mdhd", kMediaDuration, Be(UINT32_MAX, 4));
  const auto to_the_end = WithInEach(told, "elst", kFirstEdit, Be(0, 4));
  for (const auto& file : {zero, unknown, to_the_end}) {
    std::string reason;
    const auto media = Probe(file, &reason);
    ASSERT_NE(media, nullptr) << reason;
    EXPECT_DOUBLE_EQ(media->duration, 2.002);
    EXPECT_EQ(media->bit_rate, 196'371u);
    ASSERT_EQ(media->streams.size(), 2u);
    EXPECT_DOUBLE_EQ(media->streams[0].duration, 2.002);
    EXPECT_NEAR(media->streams[1].duration, 2, 0.01);
    EXPECT_NEAR(media->streams[0].properties.max_frame_rate.value_or(0), 29.97, 0.001);
  }
}

TEST(MediaProberTest, TheMovieTellsTheLengthWhereNoTrackDoes) {
  const auto without_samples = WithInEach(ReadSample("upright.mp4"), "stts", 4, Be(0, 4));
  std::string reason;
  const auto media = Probe(WithInEach(without_samples, "mdhd", 16, Be(0, 4)), &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_DOUBLE_EQ(media->duration, 2.002);
}

// A frame of DTS for two channels, as long as the 16-bit samples that it stands for.
std::string DtsFrame() {
  constexpr std::size_t kSamplesOfFrame = 512;
  constexpr std::size_t kFrameSize = kSamplesOfFrame * 2 * 2;
  codec::BitWriter header;
  header.Bits(0x7FFE8001, 32);
  header.Bits(1, 1).Bits(31, 5).Bits(0, 1);  // a normal frame, of whole blocks, without a checksum
  header.Bits(kSamplesOfFrame / 32 - 1, 7).Bits(kFrameSize - 1, 14);
  header.Bits(2, 6).Bits(8, 4).Bits(22, 5);  // stereo, 44.1 kHz, 1411.2 kb/s
  const auto& bytes = header.Bytes();
  return std::string(bytes.begin(), bytes.end()) + Zeros(kFrameSize - bytes.size());
}

TEST(MediaProberTest, KnowsDtsThatPassesForSamples) {
  std::string frames;
  for (int i = 0; i < 100; ++i) frames += DtsFrame();
  const std::string format = Le(1, 2) + Le(2, 2) + Le(44'100, 4) + Le(176'400, 4) + Le(4, 2) + Le(16, 2);
  const std::string wave =
      "RIFF" + Le(frames.size() + 36, 4) + "WAVEfmt " + Le(16, 4) + format + "data" + Le(frames.size(), 4) + frames;
  std::string reason;
  const auto media = Probe({wave.begin(), wave.end()}, &reason);
  ASSERT_NE(media, nullptr) << reason;
  const StreamDescription& sound = media->streams.at(0);
  EXPECT_EQ(sound.codec_name, "dts");
  EXPECT_EQ(sound.sound.bits_per_sample, 0u);
  EXPECT_EQ(sound.sound.flags & kAudioLossless, 0u);
  EXPECT_NEAR(media->duration, 100 * 512 / 44'100.0, 1e-3);
}

// A second of silence in front of which a recorder could not go back.
std::string PipedWave(std::uint32_t form_size, std::uint32_t data_size) {
  const std::string format = Le(1, 2) + Le(1, 2) + Le(8000, 4) + Le(16'000, 4) + Le(2, 2) + Le(16, 2);
  return "RIFF" + Le(form_size, 4) + "WAVEfmt " + Le(16, 4) + format + "data" + Le(data_size, 4) + Zeros(16'000);
}

TEST(MediaProberTest, CountsSamplesByTheirRoom) {
  const std::string format = Le(0xFFFE, 2) + Le(2, 2) + Le(8'000, 4) + Le(64'000, 4) + Le(8, 2) + Le(32, 2) +
                             Le(22, 2) + Le(24, 2) + Le(3, 4) + "\1" + Zeros(3) + Be(0x1000, 4) + Be(0x800000AA, 4) +
                             Be(0x00389B71, 4);
  const std::string wave =
      "RIFF" + Le(64'060, 4) + "WAVEfmt " + Le(40, 4) + format + "data" + Le(64'000, 4) + Zeros(64'000);
  std::string reason;
  const auto media = Probe({wave.begin(), wave.end()}, &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_DOUBLE_EQ(media->duration, 1);
  EXPECT_DOUBLE_EQ(media->streams.at(0).duration, 1);
  EXPECT_EQ(media->streams.at(0).codec_name, "pcm_s32le");
  EXPECT_EQ(media->streams.at(0).bit_rate, 512'000u);
}

TEST(MediaProberTest, TimesSoundOfUnknownLengthByTheFile) {
  for (const std::uint32_t size : {0u, 0x7FFFF000u, 0x80000000u, 0xFFFFFFFFu}) {
    const std::string wave = PipedWave(size == 0xFFFFFFFF ? size : size + 36, size);
    std::string reason;
    const auto media = Probe({wave.begin(), wave.end()}, &reason);
    ASSERT_NE(media, nullptr) << reason;
    EXPECT_DOUBLE_EQ(media->duration, 1) << size;
    EXPECT_DOUBLE_EQ(media->streams.at(0).duration, 1) << size;
    EXPECT_EQ(media->bit_rate, 128'352u) << size;
  }
}

TEST(MediaProberTest, TimesSoundThatWasCutByWhatIsThere) {
  const std::string wave = PipedWave(500'036, 500'000);
  std::string reason;
  const auto media = Probe({wave.begin(), wave.end()}, &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_DOUBLE_EQ(media->duration, 1);
  EXPECT_DOUBLE_EQ(media->streams.at(0).duration, 1);
}

TEST(MediaProberTest, TimesAmrByItsFrames) {
  std::string amr = "#!AMR\n";
  for (int i = 0; i < 100; ++i) amr += '\x3C' + Zeros(31);
  std::string reason;
  const auto media = Probe({amr.begin(), amr.end()}, &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_DOUBLE_EQ(media->duration, 2);
  EXPECT_DOUBLE_EQ(media->streams.at(0).duration, 2);
  EXPECT_EQ(media->bit_rate, 12'824u);
}

TEST(MediaProberTest, ClaimsNoLengthWhereTheFilesIsUnknown) {
  MemorySource source(PipedWave(0x80000024, 0x80000000));
  source.ForgetSize();
  std::string reason;
  const auto media = ProbeSource(source, &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_EQ(media->duration, 0);
  EXPECT_EQ(media->streams.at(0).duration, 0);
}

TEST(MediaProberTest, TellsScrambledSoundOfATransportStream) {
  constexpr std::size_t kPacket = 188;
  constexpr std::uint8_t kEvenKey = 0x80;
  std::vector<std::uint8_t> stream = ReadSample("programs.ts");
  const MediaDescription clear = ProbeSample("programs.ts");
  const auto sound = std::ranges::find(clear.streams, StreamKind::kSound, &StreamDescription::kind);
  ASSERT_NE(sound, clear.streams.end());
  EXPECT_EQ(sound->sound.flags & kAudioEncrypted, 0u);
  for (std::size_t at = 0; at + kPacket <= stream.size(); at += kPacket) {
    const std::uint32_t pid = (stream[at + 1] & 0x1Fu) << 8 | stream[at + 2];
    if (pid == sound->id) stream[at + 3] |= kEvenKey;
  }
  std::string reason;
  const auto media = Probe(stream, &reason);
  ASSERT_NE(media, nullptr) << reason;
  for (const StreamDescription& told : media->streams) {
    if (told.kind != StreamKind::kSound) continue;
    EXPECT_EQ((told.sound.flags & kAudioEncrypted) != 0, told.id == sound->id) << told.id;
  }
}

TEST(MediaProberTest, KeepsThePogramsOfATransportStream) {
  const MediaDescription media = ProbeSample("programs.ts");
  EXPECT_EQ(media.format_name, "mpegts");
  EXPECT_EQ(FourCC(media.format_fourcc), "TS  ");
  ASSERT_EQ(media.programs.size(), 2u);
  EXPECT_EQ(media.programs[0].number, 11u);
  EXPECT_EQ(media.programs[0].streams, (std::vector<std::size_t>{0, 1}));
  EXPECT_EQ(media.programs[1].number, 22u);
  EXPECT_EQ(media.programs[1].streams, (std::vector<std::size_t>{2, 3}));
  const StreamDescription& interlaced = media.streams[0];
  EXPECT_EQ(interlaced.picture.field_order, 2);
  EXPECT_EQ(interlaced.picture.flags, kVideoInterlaced);
  EXPECT_EQ(interlaced.picture.display_width, 384) << "four to three";
  EXPECT_EQ(interlaced.properties.format_profile, "Main@Main");
  EXPECT_EQ(media.streams[2].picture.width, 320u) << "from the parameter sets: no decoder has seen it";
  EXPECT_EQ(media.streams[2].picture.frame_count, 50u);
}

TEST(MediaProberTest, DescribesACover) {
  for (const char* name : {"song.mp3", "song.flac"}) {
    const MediaDescription media = ProbeSample(name);
    const auto cover = std::ranges::find(media.streams, StreamKind::kPicture, &StreamDescription::kind);
    ASSERT_NE(cover, media.streams.end()) << name;
    EXPECT_EQ(cover->picture.width, 96u);
    EXPECT_EQ(cover->picture.height, 96u);
    EXPECT_EQ(cover->picture.frame_count, 1u);
    EXPECT_EQ(cover->picture.frame_rate, 0);
    EXPECT_EQ(media.tags.title, "Morning Tone");
  }
}

struct Tagged {
  const char* file;
  const char* title;
  const char* artist;
};

class TagTest : public testing::TestWithParam<Tagged> {};

TEST_P(TagTest, IsFoundWhereTheContainerKeepsIt) {
  const MediaDescription media = ProbeSample(GetParam().file);
  EXPECT_EQ(media.tags.title, GetParam().title);
  EXPECT_EQ(media.tags.artist, GetParam().artist);
}

INSTANTIATE_TEST_SUITE_P(Samples, TagTest,
                         testing::Values(Tagged{"upright.mp4", "Held upright", "A. Walker"},
                                         Tagged{"song.m4a", "Morning Tone", "The Oscillators"},
                                         Tagged{"song.opus", "Morning Tone", "The Oscillators"},
                                         Tagged{"song.mp3", "Morning Tone", "The Oscillators"},
                                         Tagged{"tape.avi", "From the tape", "The Deck"}));

TEST(MediaProberTest, ReadsPlaceCameraAndTime) {
  const MediaTags upright = ProbeSample("upright.mp4").tags;
  EXPECT_EQ(upright.created, 1'720'988'130);
  ASSERT_TRUE(upright.location.has_value());
  EXPECT_NEAR(upright.location->latitude, 48.8584, 1e-4);
  EXPECT_NEAR(upright.location->longitude, 2.2945, 1e-4);
  const MediaTags hdr = ProbeSample("hdr.mov").tags;
  EXPECT_EQ(hdr.maker, "Example Optics");
  EXPECT_EQ(hdr.model, "EX-1");
  EXPECT_LT(hdr.location.value().latitude, 0);
}

TEST(MediaProberTest, ReadsSoundBehindALargeCover) {
  constexpr std::size_t kCover = 12'000'000;
  const std::string cover = Be(0, 1) + "image/jpeg" + Be(0x000300, 3) + "\xFF\xD8\xFF\xE0" + Zeros(kCover);
  const std::string frame = "APIC" + Be(cover.size(), 4) + Zeros(2) + cover;
  const std::vector<std::uint8_t> song = ReadSample("song.mp3");
  const std::string bytes =
      "ID3" + Be(0x0300, 2) + Zeros(1) + InSevens(frame.size()) + frame + std::string(song.begin(), song.end());
  std::string reason;
  const auto media = Probe({bytes.begin(), bytes.end()}, &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_EQ(media->streams.size(), 3u) << "the sound, this cover and the sample's own";
  EXPECT_EQ(media->streams.at(0).sound.sample_rate, 44'100u);
}

TEST(MediaProberTest, ReadsAnUnsynchronisedTagWhoseFramesDoNotCountTheZeros) {
  using namespace std::string_literals;
  const auto frame = [](const std::string& id, const std::string& utf16, const std::string& written) {
    return id + Be(utf16.size() + 1, 4) + Zeros(2) + "\1" + written;
  };
  const std::string frames = frame("TIT2",
                                   "\xFF\xFE"
                                   "A\0B\0"s,
                                   "\xFF\0\xFE"
                                   "A\0B\0"s) +
                             frame("TPE1",
                                   "\xFF\xFE"
                                   "C\0D\0"s,
                                   "\xFF\0\xFE"
                                   "C\0D\0"s) +
                             Zeros(20);
  const std::vector<std::uint8_t> song = ReadSample("song.mp3");
  MemorySource sample(song);
  const auto sound = static_cast<std::ptrdiff_t>(SkipId3v2(sample));
  const std::string bytes =
      "ID3" + Be(0x0300, 2) + "\x80" + InSevens(frames.size()) + frames + std::string(song.begin() + sound, song.end());
  std::string reason;
  const auto media = Probe({bytes.begin(), bytes.end()}, &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_EQ(media->tags.title, "AB");
  EXPECT_EQ(media->tags.artist, "CD");
  EXPECT_EQ(media->streams.at(0).codec_name, "mp3");
}

TEST(MediaProberTest, TellsNoLengthOfAChainOfOggWhereItIsNotKnown) {
  std::vector<std::uint8_t> bytes = ReadSample("song.opus");
  std::vector<std::uint8_t> other = bytes;
  for (std::size_t at = 0; at + 18 < other.size(); ++at) {
    const bool is_page = std::equal(other.begin() + static_cast<std::ptrdiff_t>(at),
                                    other.begin() + static_cast<std::ptrdiff_t>(at + 4), "OggS");
    if (is_page) ++other[at + 14];  // the number of its stream
  }
  bytes.insert(bytes.end(), other.begin(), other.end());
  RemoteSource source(bytes);
  std::string reason;
  const auto media = ProbeSource(source, &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_EQ(media->duration, 0);
  EXPECT_EQ(media->streams.at(0).duration, 0);
  EXPECT_NEAR(Probe(bytes, &reason)->duration, 2 * ProbeSample("song.opus").duration, 0.05);
}

TEST(MediaProberTest, TakesFromId3v1WhatId3v2DoesNotTell) {
  const std::vector<std::uint8_t> song = ReadSample("song.mp3");
  std::string bytes(song.begin(), song.end());
  bytes.replace(bytes.find("TPE1"), 4, "TXX1");
  const auto field = [](std::string text) {
    text.resize(30, '\0');
    return text;
  };
  bytes += "TAG" + field("Cut title") + field("Artist of the end") + field("") + "2004" + field("") + Zeros(1);
  std::string reason;
  const auto media = Probe({bytes.begin(), bytes.end()}, &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_EQ(media->tags.title, "Morning Tone");
  EXPECT_EQ(media->tags.artist, "Artist of the end");
  EXPECT_EQ(media->tags.album, "Sines");
}

TEST(MediaProberTest, ReadsAnApeTagWhereNoId3v2TagStands) {
  const std::vector<std::uint8_t> song = ReadSample("song.mp3");
  const std::string item = Le(3, 4) + Zeros(4) + "Title" + Zeros(1) + "APE";
  const std::string tag = item + "APETAGEX" + Le(2000, 4) + Le(item.size() + 32, 4) + Le(1, 4) + Zeros(12);
  const std::string whole = std::string(song.begin(), song.end()) + tag;
  const auto title_of = [](std::string_view bytes) {
    std::string reason;
    const auto media = Probe({bytes.begin(), bytes.end()}, &reason);
    return media ? media->tags.title : reason;
  };
  EXPECT_EQ(title_of(whole), "Morning Tone");
  MemorySource source(whole);
  EXPECT_EQ(title_of(std::string_view(whole).substr(SkipId3v2(source))), "APE");
}

struct Refused {
  const char* name;
  std::string content;
  const char* reason;
};

class RefusalTest : public testing::TestWithParam<Refused> {};

TEST_P(RefusalTest, SaysWhy) {
  const std::string& content = GetParam().content;
  std::string reason;
  EXPECT_EQ(Probe({content.begin(), content.end()}, &reason), nullptr);
  EXPECT_EQ(reason, GetParam().reason);
}

std::string Box(const std::string& type, const std::string& content) {
  return Be(content.size() + 8, 4) + type + content;
}

std::string ManyBoxes(const std::string& type) {
  std::string boxes;
  for (int i = 0; i < 200'000; ++i) boxes += Box(type, "");
  return boxes;
}

const std::string kBrands = Box("ftyp", "isom" + Zeros(4) + "isom");

INSTANTIATE_TEST_SUITE_P(
    Files, RefusalTest,
    testing::Values(
        Refused{"Empty", "", "empty file"}, Refused{"Text", "Just some words.\n", "not a media file"},
        Refused{"Picture", "\x89PNG\r\n\x1A\n" + Zeros(100), "a still image, not a media file"},
        Refused{"Svg", "<svg xmlns='http://www.w3.org/2000/svg'/>", "an SVG image, not a media file"},
        Refused{"Mp4WithoutIndex", kBrands + Box("mdat", Zeros(1000)),
                "file ends early: its index, which is written last, is missing"},
        Refused{"FragmentsOfATrackWithoutANumber", kBrands + Box("moov", Box("trak", "") + Box("mvex", "")),
                "damaged: a track has no number"},
        Refused{"FragmentsOfATrackWithALargeNumber",
                kBrands + Box("moov", Box("trak", Box("tkhd", Zeros(12) + "\x80" + Zeros(79))) + Box("mvex", "")),
                "damaged: a track has no number"},
        Refused{"Mp4OfEmptyBoxes", kBrands + ManyBoxes("meta"), "more would have to be read than is allowed"},
        Refused{"Mp4WithItsIndexOutOfReach", kBrands + Box("mdat", Zeros(1000)) + ManyBoxes("meta") + Box("moov", ""),
                "more would have to be read than is allowed"}),
    [](const auto& case_info) { return std::string(case_info.param.name); });

TEST(MediaProberTest, NeverFailsTwoWaysAtOnceOnCutFiles) {
  for (const char* name : kSamples) {
    const std::vector<std::uint8_t> whole = ReadSample(name);
    ASSERT_FALSE(whole.empty()) << name;
    for (std::size_t size = 0; size < whole.size(); size += size < 256 ? 13 : whole.size() / 23) {
      std::string reason;
      const auto media = Probe({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)}, &reason);
      EXPECT_EQ(media == nullptr, !reason.empty()) << name << " cut to " << size << ": " << reason;
    }
  }
}

TEST(MediaProberTest, SurvivesDamage) {
  std::mt19937 random(20240714);  // the same damage in every run
  for (const char* name : kSamples) {
    const std::vector<std::uint8_t> whole = ReadSample(name);
    for (int round = 0; round < 24; ++round) {
      std::vector<std::uint8_t> damaged = whole;
      for (int i = 0; i < 1 + round * 2; ++i) {
        // Headers are hit more often than their share.
        const std::size_t reach = round % 2 == 0 ? std::min<std::size_t>(damaged.size(), 2048) : damaged.size();
        damaged[random() % reach] = static_cast<std::uint8_t>(random());
      }
      std::string reason;
      const auto media = Probe(std::move(damaged), &reason);
      EXPECT_EQ(media == nullptr, !reason.empty());
    }
  }
}

TEST(MediaProberTest, TakesTextForNoMedia) {
  const std::string texts[] = {
      "/* guuid.h - a header of unique ids */\n#define X\n",  // "uuid" where a box has its type
      "/* skip */\nint x;\n", std::string(5000, '/') + "\n"};
  for (const std::string& text : texts) {
    std::string reason;
    EXPECT_EQ(Probe({text.begin(), text.end()}, &reason), nullptr) << text.substr(0, 40);
    EXPECT_EQ(reason, "not a media file") << text.substr(0, 40);
  }
}

TEST(MediaProberTest, TakesRandomBytesForNoMedia) {
  std::mt19937 random(7);
  for (int round = 0; round < 50; ++round) {
    std::vector<std::uint8_t> bytes(1 + random() % 20'000);
    std::ranges::generate(bytes, [&] { return static_cast<std::uint8_t>(random()); });
    std::string reason;
    EXPECT_EQ(Probe(std::move(bytes), &reason), nullptr);
    EXPECT_FALSE(reason.empty());
  }
}

TEST(MediaProberTest, GivesUpWhenTheTimeIsOver) {
  MemorySource source(ReadSample("upright.mp4"));
  BoundedSource bounded(source, {.bytes = 1'000'000, .time = std::chrono::seconds(0)});
  std::string reason;
  EXPECT_EQ(ProbeMedia(bounded, "", &reason), nullptr);
  EXPECT_EQ(reason, "takes too long to read");
}

TEST(MediaProberTest, TakesAFileFullOfTags) {
  // A FLAC file with 400,000 comments: minutes, if each were compared with all before it.
  std::string comments;
  constexpr int kComments = 400'000;
  const auto add = [&](const std::string& comment) { comments += Le(comment.size(), 4) + comment; };
  add("TITLE=First");
  for (int i = 1; i < kComments; ++i) add("K" + std::to_string(i) + "=x");
  const std::string block = Le(0, 4) + Le(kComments, 4) + comments;  // no vendor, then the list
  const std::vector<std::uint8_t> song = ReadSample("song.flac");
  const std::string stream_info(song.begin() + 8, song.begin() + 42);
  const std::string file = "fLaC" + Be(34, 4) + stream_info + Be(0x84, 1) + Be(block.size(), 3) + block +
                           std::string(song.end() - 9000, song.end());
  std::string reason;
  const auto media = Probe({file.begin(), file.end()}, &reason);
  ASSERT_NE(media, nullptr) << reason;
  EXPECT_EQ(media->tags.title, "First");
}

TEST(MediaProberTest, ReadsNoMoreOfALongFileThanOfAShortOne) {
  // Media data at the end of the file that no header counts: a hundred times the bytes, the same work.
  const std::vector<std::uint8_t> file = ReadSample("upright.mp4");
  std::uint64_t read[2];
  for (int i = 0; i < 2; ++i) {
    std::vector<std::uint8_t> longer = file;
    const std::string tail = Box("mdat", Zeros(i == 0 ? 100'000 : 10'000'000));
    longer.insert(longer.end(), tail.begin(), tail.end());
    MemorySource source(std::move(longer));
    BoundedSource bounded(source, ReadBudget());
    std::string reason;
    ASSERT_NE(ProbeMedia(bounded, "", &reason), nullptr) << reason;
    read[i] = source.BytesRead();
  }
  EXPECT_EQ(read[0], read[1]);
}

}  // namespace
}  // namespace media_server::probe
