#pragma once

#include <optional>
#include <string>

#include "media-server/io/byte_source.h"

namespace media_server {

/// The texts of an ID3v1 tag, valid UTF-8, empty when not told. All but the last were cut to 30 characters by the
/// writer.
struct Id3v1Tag {
  std::string title;
  std::string artist;
  std::string album;
  std::string track_number;
};

/// Reads the tag in the last 128 bytes of the input. Empty when there is none, or the input's size is unknown.
std::optional<Id3v1Tag> ReadId3v1(IByteSource& source);

}  // namespace media_server
