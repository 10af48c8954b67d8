#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "media-server/container/ape_tag.h"
#include "media-server/container/asf_properties.h"
#include "media-server/container/id3v1.h"
#include "media-server/container/matroska_scan.h"
#include "media-server/container/mp4_movie.h"
#include "media-server/container/ogg_chain.h"
#include "media-server/container/riff_scan.h"
#include "media-server/io/byte_source.h"
#include "media-server/probe/track_facts.h"

struct AVStream;

namespace media_server::probe {

/// What our own container readers tell of a file.
struct ContainerFacts {
  std::optional<Mp4Movie> movie;              ///< of the MP4 family
  std::optional<MatroskaScan> matroska;       ///< of Matroska and WebM
  std::optional<Id3v1Tag> id3v1;              ///< of MPEG audio; libavformat reads it only where no ID3v2 tag stands
  std::vector<ApeText> ape_texts;             ///< of MPEG audio without an ID3v2 tag
  std::optional<RiffDataToEnd> sound_to_end;  ///< of a WAV file whose writer could not go back, or that was cut
  std::optional<RiffPaddedSamples> padded_samples;  ///< of WAV, which libavformat counts without the padding
  std::optional<double> sound_seconds;  ///< of AMR and DSF, which libavformat estimates, and FLAC that leaves it open
  std::optional<OggChain> ogg_chain;    ///< of Ogg whose links libavformat takes for the last one
  std::optional<double> told_seconds;   ///< of ASF, which libavformat gives no length where it is cut
  std::vector<std::uint16_t> scrambled_pids;  ///< of a transport stream
  std::vector<AsfFrameTime> frame_times;      ///< of ASF
  bool is_protected_asf = false;              ///< all its streams are encrypted
  bool is_flv = false;                        ///< has one stream of a kind, and no ids but their kinds
  std::optional<bool> is_lossless;            ///< of WavPack
  bool may_be_dts = false;                    ///< what a WAV file calls samples
  std::optional<bool> truncated;              ///< the file is shorter than its container says
  std::optional<std::string> refusal;         ///< why the file must not be opened, in words
  /// What stands in places that libavformat does not read: the AI-generated-content label, an XMP packet, the creation
  /// time in seconds since 1970 UTC.
  std::string aigc;
  std::string xmp;
  std::optional<std::int64_t> created;
  /// When a person or a recorder says that the content came to be, as it stands: for want of `created`.
  std::string date;

  /// An alpha picture is stacked under the colour picture.
  bool HasStackedAlpha() const;
  bool AnyEncrypted() const;
  TrackFacts FactsOf(const AVStream& stream) const;
  /// The MP4 track behind a stream; null for other containers.
  const Mp4Track* TrackOf(const AVStream& stream) const;
};

/// Reads the facts of a file that libavformat's demuxer `demuxer` (IdentifyFormat) will open.
ContainerFacts ReadContainerFacts(IByteSource& source, std::string_view demuxer);

}  // namespace media_server::probe
