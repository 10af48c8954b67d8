#pragma once

#include "media-server/io/bounded_source.h"
#include "media-server/probe/container_facts.h"

struct AVFormatContext;

namespace media_server::probe {

/// Puts right what libavformat, which has opened `source` and analysed it, tells of lengths and of the streams' bit
/// rates, where our readers or the budget of the source know better.
void CorrectTimes(const ContainerFacts& container, BoundedSource& source, AVFormatContext& context);

}  // namespace media_server::probe
