#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "media-server/io/byte_source.h"
#include "media-server/probe/track_facts.h"

struct AVStream;

namespace media_server::probe {

/// What our own container readers tell of a file.
struct ContainerFacts {
  bool stacked_alpha = false;  ///< an alpha picture is stacked under the colour picture
  bool any_encrypted = false;
  std::optional<bool> truncated;       ///< the file is shorter than its container says
  std::optional<std::string> refusal;  ///< why the file must not be opened, in words
  std::map<int, TrackFacts> tracks;    ///< by the container's own stream id

  TrackFacts FactsOf(const AVStream& stream) const;
};

/// Reads the facts of a file that libavformat's demuxer `demuxer` (IdentifyFormat) will open.
ContainerFacts ReadContainerFacts(IByteSource& source, std::string_view demuxer);

}  // namespace media_server::probe
