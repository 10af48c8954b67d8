#pragma once

#include <optional>

#include "media-server/io/byte_source.h"

namespace media_server {

/// An Ogg file of several links, one behind the other, each with streams and clocks of its own (RFC 3533, section 4):
/// what radio stations send is recorded so.
struct OggChain {
  std::optional<double> seconds;  ///< of the sound of all links; empty where it would take too much to find out
};

/// Empty for files of one link. The borders between links are looked for by halving: up to 24 of them, none where each
/// look would be a request to a server. Sound whose clock is known is Vorbis, Opus, Speex and FLAC. Reads up to 3 MB.
std::optional<OggChain> ReadOggChain(IByteSource& source);

}  // namespace media_server
