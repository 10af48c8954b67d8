#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "media-server/container/mp4_movie.h"
#include "media-server/io/byte_source.h"
#include "media-server/probe/sample_reader.h"

struct AVFormatContext;
struct AVStream;

namespace media_server::probe {

/// The part a picture plays in its group, in coded order.
enum class GopPicture {
  kIntra,    ///< starts a group
  kAnchor,   ///< other pictures lean on it, and it is shown in coded order
  kBetween,  ///< shown before an anchor that was coded before it
};

/// The structure of regular groups as people write it: "M=3, N=12" (an anchor every M pictures, a group every N). Empty
/// when the groups differ, or fewer than two whole ones are seen. The first one counts without the pictures that are
/// shown before it, which a file's first group does not have; it may be still shorter, and is left out where more than
/// one follows.
std::optional<std::string> GopText(std::span<const GopPicture> pictures);

/// The structure that the sample tables of an MP4 track tell.
std::optional<std::string> GopOfTrack(AVStream& stream, const Mp4Track& track, const SampleReader& samples);

/// Whether the picture headers of a stream tell the structure: those of MPEG-1 and MPEG-2 video.
bool TellsGopInPackets(const AVStream& stream);

/// The structure that they tell in track `track_number` of a Matroska file, of whose frames only the beginnings are
/// read.
std::optional<std::string> GopOfFrames(IByteSource& source, std::uint64_t track_number);

/// The structure that they tell. Reads packets of the file from where reading stands, a bounded number: call it last,
/// and once.
std::optional<std::string> GopOfPackets(AVFormatContext& context, const AVStream& stream);

}  // namespace media_server::probe
