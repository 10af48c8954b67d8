// A media file of any container: probed, made into objects, and read to the last answer through their interfaces.
//
// Oracle: a file is either described or refused with a reason, never both, from no more bytes than it may read; what is
// described is what ReadWholeMediaInfo accepts, and its streams have codecs.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "fuzz/check.h"
#include "fuzz/fuzzed_source.h"
#include "fuzz/media_info_oracle.h"
#include "media-server/objects/media_info_object.h"
#include "media-server/probe/media_prober.h"

namespace {

constexpr std::uint64_t kMostBytesRead = std::uint64_t{64} << 20;

void CheckDescription(const media_server::MediaDescription& media) {
  FUZZ_CHECK(!media.format_name.empty() && !media.streams.empty());
  for (const media_server::StreamDescription& stream : media.streams) FUZZ_CHECK(!stream.codec_name.empty());
  for (const media_server::ProgramDescription& program : media.programs) {
    for (const std::size_t position : program.streams) FUZZ_CHECK(position < media.streams.size());
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace media_server;
  fuzz::FuzzedSource source({data, size});
  BoundedSource bounded(source, {.bytes = kMostBytesRead, .time = std::chrono::seconds(10)});
  std::string reason;
  auto media = probe::ProbeMedia(bounded, "00112233445566778899aabbccddeeff", &reason);
  FUZZ_CHECK((media == nullptr) != reason.empty());
  FUZZ_CHECK(source.TakeBytesRead() <= kMostBytesRead);
  if (!media) return 0;
  CheckDescription(*media);
  fuzz::ReadWholeMediaInfo(*MakeMediaInfo(std::move(media)).Get());
  return 0;
}
