#pragma once

#include <string_view>

struct AVFormatContext;
struct AVStream;

namespace media_server::probe {

/// libavformat's name of the demuxer of MP4, QuickTime and what is made of them.
inline constexpr std::string_view kMp4Demuxer = "mov,mp4,m4a,3gp,3g2,mj2";

/// Whether packets must be read to know the streams' facts, after the container's header was read. Stream analysis is
/// the dearest step of a probe, and most containers tell everything in their headers.
bool NeedsAnalysis(const AVFormatContext& context);

/// Whether analysis has not found what it is for: size, rate and pixel format of pictures, sample rate of sound.
bool LacksFacts(const AVStream& stream);
/// Whether any of the streams lacks them.
bool LacksFacts(const AVFormatContext& context);

}  // namespace media_server::probe
