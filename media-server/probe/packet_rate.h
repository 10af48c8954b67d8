#pragma once

#include <optional>

struct AVFormatContext;
struct AVStream;

namespace media_server::probe {

/// Whether libavformat has measured no frame rate of `stream` and would give that of the container's clock, which
/// counts milliseconds in ASF.
bool HasRateOfClock(const AVFormatContext& context, const AVStream& stream);

/// Gives `stream` the frame rate that its container tells (`told_rate`, frames per second) or, where it tells none, the
/// mean one of its next packets, and none where these do not tell either. Where the file's packets end before a bound,
/// they are the stream's number of frames. Reads packets unless the rate is told.
void SetRateOfPackets(AVFormatContext& context, std::optional<double> told_rate, AVStream& stream);

}  // namespace media_server::probe
