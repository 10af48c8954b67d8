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

using namespace std::string_view_literals;

/// The sound of an MP4 file whose entry names MPEG audio and whose first frame begins with `start`.
StreamDescription SoundBeginningWith(std::string_view start) {
  std::vector<std::uint8_t> bytes = ReadSample("song.m4a");
  const auto behind = [&](std::string_view mark) { return std::ranges::search(bytes, mark).end(); };
  constexpr std::uint8_t kAac = 0x40;
  constexpr std::uint8_t kMpegAudio = 0x6B;  // the object type of all layers of MPEG-1
  *std::find(behind("esds"), bytes.end(), kAac) = kMpegAudio;
  std::ranges::copy(start, behind("mdat"));
  MemorySource source(std::move(bytes));
  BoundedSource bounded(source, ReadBudget());
  std::string reason;
  const auto media = ProbeMedia(bounded, "", &reason);
  EXPECT_NE(media, nullptr) << reason;
  return media ? media->streams.at(0) : StreamDescription();
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

}  // namespace
}  // namespace media_server::probe
