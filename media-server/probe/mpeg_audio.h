#pragma once

#include "media-server/probe/sample_reader.h"

struct AVStream;

namespace media_server::probe {

/// Gives MPEG audio the layer, rate and channels that its first frame tells. MP4 has one number for all three layers
/// and writers put two channels there whatever the frames have. Of other containers it looks only into those that leave
/// the frames unseen (CAF, NUT), and takes the bit rate too. What cannot be read stays as the container tells it. Not
/// for scrambled frames.
void DescribeMpegAudio(const SampleReader& samples, AVStream& stream);

}  // namespace media_server::probe
