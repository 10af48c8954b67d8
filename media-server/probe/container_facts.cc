#include "media-server/probe/container_facts.h"

#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {

TrackFacts ContainerFacts::FactsOf(const AVStream& stream) const {
  const auto found = tracks.find(stream.id);
  return found != tracks.end() ? found->second : TrackFacts();
}

ContainerFacts ReadContainerFacts(IByteSource&, std::string_view) { return {}; }

}  // namespace media_server::probe
