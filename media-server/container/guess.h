#pragma once

#include <string_view>

#include "media-server/io/byte_source.h"

namespace media_server {

/// Whether content that no mark proves may be what libavformat's demuxer `demuxer` reads, as it guessed by `score` (0
/// to 100). False where the guess only says that a few bytes happen to suit: text taken for sound or pictures, two
/// or three short start codes, frames of game sound that never change. Reads up to 4 KiB of text and
/// 64 KiB of the rest.
bool IsPlausibleGuess(IByteSource& source, std::string_view demuxer, int score);

}  // namespace media_server
