#pragma once

#include <string_view>

#include "media-server/model/media_tags.h"
#include "media-server/probe/container_facts.h"

struct AVFormatContext;

namespace media_server::probe {

/// Collects the tags of a file: what our own container readers found first, then libavformat's tags of the file, then
/// those of its streams (where Ogg keeps them), at last an XMP packet. The first source that has a value wins.
MediaTags ReadTags(const AVFormatContext& context, const ContainerFacts& container);

/// Whether `key` is one under which ReadTags looks, in any letter case, or an ID3v2 frame that libavformat renames to
/// one.
bool IsTagOfInterest(std::string_view key);

}  // namespace media_server::probe
