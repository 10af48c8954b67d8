#include <utf8.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fuzz/fuzzed_source.h"
#include "media-server/probe/media_prober.h"

// Oracle: a file is either described or refused with a reason, never both; what is described has valid texts, times
// that are numbers, streams that lie in a program, and pictures in every picture stream that has a size.

namespace {

using namespace media_server;

void Require(bool holds) {
  if (!holds) std::abort();
}

bool IsText(const std::string& text) { return utf8::is_valid(text.begin(), text.end()); }

bool IsTime(double seconds) { return std::isfinite(seconds) && seconds >= 0; }

void RequireTags(const MediaTags& tags) {
  for (const std::string& text : {tags.title, tags.artist, tags.album, tags.track_number, tags.genre, tags.publisher,
                                  tags.actor, tags.maker, tags.model, tags.aigc}) {
    Require(IsText(text));
  }
  if (tags.location) Require(std::abs(tags.location->latitude) <= 90 && std::abs(tags.location->longitude) <= 180);
}

void RequireStream(const StreamDescription& stream) {
  Require(IsText(stream.language) && !stream.codec_name.empty() && IsTime(stream.duration));
  if (stream.kind == StreamKind::kPicture && stream.picture.width != 0) {
    Require(stream.picture.frame_count > 0 && IsTime(stream.picture.frame_rate));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::FuzzedSource source({data, size});
  BoundedSource bounded(source, {.bytes = std::uint64_t{64} << 20, .time = std::chrono::seconds(10)});
  std::string reason;
  const auto media = probe::ProbeMedia(bounded, "00112233445566778899aabbccddeeff", &reason);
  Require((media == nullptr) != reason.empty());
  if (!media) return 0;

  Require(IsTime(media->duration) && IsText(media->format_name) && !media->streams.empty() && !media->programs.empty());
  RequireTags(media->tags);
  for (const StreamDescription& stream : media->streams) RequireStream(stream);
  for (const ProgramDescription& program : media->programs) {
    Require(IsTime(program.duration));
    for (const std::size_t position : program.streams) Require(position < media->streams.size());
  }
  return 0;
}
