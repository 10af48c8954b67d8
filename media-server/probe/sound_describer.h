#pragma once

#include "media-server/model/media_description.h"

struct AVStream;

namespace media_server::probe {

/// Fills the sound part of `description`, whose bit rate is set already, from libavformat's stream.
void DescribeSound(const AVStream& stream, bool encrypted, StreamDescription& description);

}  // namespace media_server::probe
