#include "media-server/probe/sample_reader.h"

#include <algorithm>
#include <string_view>

#include "media-server/probe/analysis_policy.h"
#include "media-server/probe/ffmpeg.h"

namespace media_server::probe {

SampleReader::SampleReader(const AVFormatContext& context, IByteSource& source)
    : has_sample_index_(std::string_view(context.iformat->name) == kMp4Demuxer), source_(source) {}

int SampleReader::SampleCount(AVStream& stream) const {
  return has_sample_index_ ? avformat_index_get_entries_count(&stream) : 0;
}

bool SampleReader::IsKeySample(AVStream& stream, int sample) const {
  const AVIndexEntry* entry = avformat_index_get_entry(&stream, sample);
  return entry != nullptr && (entry->flags & AVINDEX_KEYFRAME) != 0;
}

std::vector<std::uint8_t> SampleReader::ReadStart(AVStream& stream, int sample, std::size_t size) const {
  const AVIndexEntry* entry = avformat_index_get_entry(&stream, sample);
  if (entry == nullptr || entry->pos < 0 || entry->size <= 0) return {};
  std::vector<std::uint8_t> bytes(std::min(size, static_cast<std::size_t>(entry->size)));
  bytes.resize(source_.ReadAt(static_cast<std::uint64_t>(entry->pos), bytes));
  return bytes;
}

}  // namespace media_server::probe
