#pragma once

#include <functional>
#include <optional>

struct AVFormatContext;
struct AVStream;

namespace media_server::probe {

/// The frame rate that the container tells of a stream, in frames per second.
using ToldRate = std::function<std::optional<double>(const AVStream& stream)>;

/// Gives the picture streams of ASF the frame rate that their container tells or, where it tells none, the mean one of
/// their next packets, and none where these do not tell either: libavformat gives those of which it has measured none
/// the rate of the container's clock, which counts milliseconds. Where the file's packets end before a bound, they are
/// the streams' numbers of frames. Reads packets unless all rates are told.
void SetRatesOfPackets(AVFormatContext& context, const ToldRate& told_rate);

}  // namespace media_server::probe
