#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// One SimpleTag (RFC 9559 section 5.1.8). Texts are valid UTF-8.
struct MatroskaTag {
  std::uint32_t target_type = 50;  ///< TargetTypeValue: 50 album or film, 30 track or chapter, ...
  std::uint64_t track_uid = 0;     ///< track that the tag is about; 0: not one track
  std::string name;                ///< as stored; of a nested tag with its parents in front: "ARTIST/INSTRUMENTS"
  std::string value;
  std::string language;  ///< empty when not told
};

/// What libavformat does not tell about a track. Unset fields were not in the file.
struct MatroskaTrack {
  std::uint64_t number = 0;
  std::uint64_t uid = 0;
  std::uint64_t type = 0;                        ///< 1 picture, 2 sound, 17 subtitle
  std::string language;                          ///< Language, of ISO 639-2; empty when not told
  std::string language_tag;                      ///< LanguageBCP47
  bool encrypted = false;                        ///< has a ContentEncryption
  std::optional<std::uint64_t> flag_interlaced;  ///< 0 undetermined, 1 interlaced, 2 progressive
  std::optional<std::uint64_t>
      field_order;                          ///< 0 progressive, 1 top first, 6 bottom first, 9 and 14 as they are stored
  std::optional<std::uint64_t> alpha_mode;  ///< 1: BlockAdditional 1 holds alpha
  std::optional<std::uint64_t> stereo_mode;
  std::optional<std::uint64_t> default_duration_ns;
};

struct MatroskaScan {
  std::string doc_type;  ///< "matroska", "webm"
  std::string title;
  std::optional<std::int64_t> date_unix_s;  ///< DateUTC
  std::vector<MatroskaTrack> tracks;
  std::vector<MatroskaTag> tags;  ///< in file order; at most 4096, 1 MiB a value, 16 MiB in all
  bool truncated = false;         ///< the Segment, or an element that its seek head names, ends behind the input
  bool incomplete = false;        ///< a bound was reached: what stands here is right but not all
};

/// Reads the headers of a Matroska or WebM file: the elements in front of the first cluster, and those that the seek
/// head names behind it (without a seek head, up to 512 elements are passed to find them). Never fails: what is broken
/// or missing stays empty. Reads at most 16 MiB of tags, 4 MiB of tracks and 1 MiB of each other element.
MatroskaScan ScanMatroska(IByteSource& source);

}  // namespace media_server
