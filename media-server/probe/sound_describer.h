#pragma once

#include "media-server/model/media_description.h"
#include "media-server/probe/track_facts.h"

struct AVStream;

namespace media_server::probe {

/// Fills the sound part of `description`, whose bit rate is set already, from libavformat's stream and what our readers
/// know of the track.
void DescribeSound(const AVStream& stream, const TrackFacts& track, StreamDescription& description);

}  // namespace media_server::probe
