#pragma once

#include <string>
#include <vector>

#include "media-server/io/byte_source.h"

namespace media_server {

/// A text of an APE tag. Its character set is UTF-8, or for tags of version 1 whatever the writer used.
struct ApeText {
  std::string key;    ///< "Title"; letter case does not matter
  std::string value;  ///< the first one, where there is a list
};

/// The texts of the APE tag that `source` ends with, in front of an ID3v1 tag if there is one. Nothing without such a
/// tag and for one beyond 1 MiB; texts of which the end is missing are left out.
std::vector<ApeText> ReadApeTag(IByteSource& source);

}  // namespace media_server
