#include "media-server/container/guess.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "media-server/container/byte_reader.h"

namespace media_server {
namespace {

using namespace std::string_view_literals;
using Bytes = std::span<const std::uint8_t>;

constexpr std::array kTextDemuxers = {
    "srt"sv,     "ass"sv,   "webvtt"sv,    "lrc"sv,        "sami"sv,     "microdvd"sv,
    "mpl2"sv,    "stl"sv,   "subviewer"sv, "subviewer1"sv, "realtext"sv, "pjs"sv,
    "vplayer"sv, "mpsub"sv, "jacosub"sv,   "aqtitle"sv,    "scc"sv,      "yuv4mpegpipe"sv,
};

// Nothing but start codes of 20 to 24 bits marks them, and two or three by chance score this much.
constexpr std::array kMarkedByStartCodes = {"h261"sv, "h263"sv, "mpeg"sv};
constexpr int kFewStartCodes = 25;

bool IsTextual(std::uint8_t byte) {
  return byte == '\t' || byte == '\n' || byte == '\r' || byte == '\f' || (byte >= 0x20 && byte != 0x7F);
}

// Whether all of the first bytes are signs of a text in some encoding that extends ASCII. Most of them have to be
// ASCII: any byte above could be.
bool IsText(Bytes head) {
  if (head.empty() || !std::ranges::all_of(head, IsTextual)) return false;
  const auto ascii = std::ranges::count_if(head, [](std::uint8_t byte) { return byte < 0x80; });
  return static_cast<std::size_t>(ascii) * 4 >= head.size() * 3;
}

// ADPCM of game discs is frames of 32 bytes, each with its two header bytes twice. Zeros and pages of a database have
// that as well, but only sound changes them all the time.
bool HasChangingFrames(Bytes bytes) {
  constexpr std::size_t kFrame = 32;
  constexpr std::size_t kLeastChanging = 16;  // one in so many
  std::size_t frames = 0;
  std::size_t changes = 0;
  std::uint8_t last = 0;
  for (std::size_t at = 0; at + kFrame <= bytes.size(); at += kFrame, ++frames) {
    if (bytes[at] != bytes[at + 2] || bytes[at + 1] != bytes[at + 3]) return false;
    if (bytes[at] != last) ++changes;
    last = bytes[at];
  }
  return changes * kLeastChanging >= frames;
}

}  // namespace

bool IsPlausibleGuess(IByteSource& source, std::string_view demuxer, int score) {
  constexpr std::size_t kTextSize = 4096;
  constexpr std::size_t kSoundSize = 64 * 1024;
  const auto is_demuxer = [&](std::string_view name) { return name == demuxer; };
  if (std::ranges::any_of(kMarkedByStartCodes, is_demuxer) && score <= kFewStartCodes) return false;
  if (demuxer == "adp") return HasChangingFrames(ReadBytes(source, 0, kSoundSize));
  return std::ranges::any_of(kTextDemuxers, is_demuxer) || !IsText(ReadBytes(source, 0, kTextSize));
}

}  // namespace media_server
