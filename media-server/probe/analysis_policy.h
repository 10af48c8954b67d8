#pragma once

struct AVFormatContext;

namespace media_server::probe {

/// Whether packets must be read to know the streams' facts, after the container's header was read. Stream analysis is
/// the dearest step of a probe, and most containers tell everything in their headers.
bool NeedsAnalysis(const AVFormatContext& context);

}  // namespace media_server::probe
