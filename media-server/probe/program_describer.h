#pragma once

#include "media-server/model/media_description.h"

struct AVFormatContext;

namespace media_server::probe {

/// Fills the programs of `media`, whose streams and duration are set already: those of a transport stream as the file
/// tells them; one program with all streams for other containers. Streams that no program names are put in the first.
void DescribePrograms(const AVFormatContext& context, MediaDescription& media);

}  // namespace media_server::probe
