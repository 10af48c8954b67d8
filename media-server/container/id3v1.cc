#include "media-server/container/id3v1.h"

#include <cstdint>
#include <span>

#include "media-server/container/byte_reader.h"
#include "media-server/container/text.h"

namespace media_server {
namespace {

constexpr std::size_t kTagSize = 128;
constexpr std::size_t kTextSize = 30;

}  // namespace

std::optional<Id3v1Tag> ReadId3v1(IByteSource& source) {
  const auto size = source.Size();
  if (!size || *size < kTagSize) return std::nullopt;
  const auto bytes = ReadBytes(source, *size - kTagSize, kTagSize);
  ByteReader reader(bytes);
  if (AsText(reader.Take(3)) != "TAG") return std::nullopt;
  Id3v1Tag tag;
  for (std::string* text : {&tag.title, &tag.artist, &tag.album}) {
    *text = TextFromUtf8OrWindows1252(reader.Take(kTextSize));
  }
  constexpr std::size_t kYear = 4;
  constexpr std::size_t kCommentBesideTrack = 28;
  reader.Skip(kYear + kCommentBesideTrack);
  // Version 1.1: behind a comment that ends early.
  const bool has_track = reader.U8() == 0;
  const std::uint8_t track = reader.U8();
  if (!reader.Ok()) return std::nullopt;
  if (has_track && track != 0) tag.track_number = std::to_string(track);
  return tag;
}

}  // namespace media_server
