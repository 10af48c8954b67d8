#include "media-server/probe/mpeg_audio.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "media-server/probe/media_prober.h"
#include "tests/media-server/container/memory_source.h"
#include "tests/media-server/sample_file.h"

namespace media_server::probe {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

StreamDescription OnlyStream(std::vector<std::uint8_t> bytes) {
  MemorySource source(std::move(bytes));
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  const auto media = ProbeMedia(bounded, "", &reason);
  EXPECT_NE(media, nullptr) << reason;
  return media ? media->streams.at(0) : StreamDescription();
}

/// The sound of an MP4 file whose entry names MPEG audio and whose first frame begins with `start`.
StreamDescription SoundBeginningWith(std::string_view start) {
  std::vector<std::uint8_t> bytes = ReadSample("song.m4a");
  const auto behind = [&](std::string_view mark) { return std::ranges::search(bytes, mark).end(); };
  constexpr std::uint8_t kAac = 0x40;
  constexpr std::uint8_t kMpegAudio = 0x6B;  // the object type of all layers of MPEG-1
  *std::find(behind("esds"), bytes.end(), kAac) = kMpegAudio;
  std::ranges::copy(start, behind("mdat"));
  return OnlyStream(std::move(bytes));
}

TEST(MpegAudioTest, TheFirstFrameTellsLayerRateAndChannels) {
  const StreamDescription mono = SoundBeginningWith("\xFF\xFD\xE4\xC4"sv);
  EXPECT_EQ(mono.codec_name, "mp2");
  EXPECT_EQ(mono.sound.channels, 1u);
  EXPECT_EQ(mono.sound.sample_rate, 48'000u);
  const StreamDescription stereo = SoundBeginningWith("\xFF\xFB\x90\x64"sv);
  EXPECT_EQ(stereo.codec_name, "mp3");
  EXPECT_EQ(stereo.sound.channels, 2u);
  EXPECT_EQ(stereo.sound.sample_rate, 44'100u);
}

TEST(MpegAudioTest, KeepsWhatTheContainerTellsWhereNoFrameBegins) {
  const StreamDescription sound = SoundBeginningWith("\0\0\0\0"sv);
  EXPECT_EQ(sound.codec_name, "mp3");
  EXPECT_EQ(sound.sound.channels, 2u);
}

/// A CAF file of MP3 with two frames, which tells how long each is and nothing of bit rates.
std::vector<std::uint8_t> CafOfMp3() {
  constexpr std::size_t kFrameSize = 384;
  std::string file = "caff\0\1\0\0"s;
  file += "desc\0\0\0\0\0\0\0\x20"s;
  file += "\x40\xE7\x70\0\0\0\0\0.mp3\0\0\0\0"s;                       // 48 kHz
  file += "\0\0\0\0\0\0\4\x80\0\0\0\2\0\0\0\0"s;                       // 1152 samples a frame, 2 channels
  file += "pakt\0\0\0\0\0\0\0\x1C\0\0\0\0\0\0\0\2\0\0\0\0\0\0\x9\0"s;  // 2 frames of 2304 samples
  file += "\0\0\0\0\0\0\0\0\x83\0\x83\0"s;                             // of 384 bytes each
  file += "data\0\0\0\0\0\0\3\4\0\0\0\0"s;
  for (int frame = 0; frame < 2; ++frame) {
    file += "\xFF\xFB\x94\x64"s + std::string(kFrameSize - 4, '\0');  // layer III, 128 kbit/s, 48 kHz
  }
  return {file.begin(), file.end()};
}

TEST(MpegAudioTest, TheFirstFrameTellsTheBitRateWhereNothingElseDoes) {
  const StreamDescription sound = OnlyStream(CafOfMp3());
  EXPECT_EQ(sound.codec_name, "mp3");
  EXPECT_EQ(sound.sound.sample_rate, 48'000u);
  EXPECT_EQ(sound.bit_rate, 128'000u);
}

}  // namespace
}  // namespace media_server::probe
