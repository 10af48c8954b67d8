#pragma once

#include "media-server/io/byte_source.h"
#include "media-server/model/media_description.h"
#include "media-server/probe/container_facts.h"

struct AVFormatContext;

namespace media_server::probe {

/// Fills the streams of `media`, whose size, duration and bit rate are set already; corrects duration and bit rate for
/// files that only their streams can time. Streams that are neither pictures, sound nor subpictures are left out.
void DescribeStreams(AVFormatContext& context, IByteSource& source, const ContainerFacts& container,
                     MediaDescription& media);

}  // namespace media_server::probe
