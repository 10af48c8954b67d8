#pragma once

#include "media_server/imedia_info.h"

namespace fuzz {

/// Asks an opened file and every object below it all that there is to ask, and checks each answer: documented statuses
/// only, times that are numbers, texts that are valid UTF-16 and bounded, lists as long as they say, records only where
/// they belong. What is given out is given back; the leak detector tells when it was not.
void ReadWholeMediaInfo(media_server::IMediaInfo& media);

}  // namespace fuzz
