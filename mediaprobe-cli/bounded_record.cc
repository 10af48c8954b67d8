#include "bounded_record.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <variant>
#include <vector>

#include "mediainfo/metedata_keys.h"
#include "output/json_text.h"
#include "output/record_json.h"
#include "output/record_limit.h"
#include "platform/utf8.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

/// As csv_formatter.cc has columns for them.
constexpr const char* kTextsOnEachRow[] = {keys::kTitle, keys::kArtist, keys::kMaker, keys::kModel};
constexpr std::size_t kShortestCut = 16;
/// A stream without its texts takes less than 4 KB, with every key that there is.
constexpr std::size_t kStreamsThatFit = kMostRecordBytes / 4096;

std::size_t CountStreams(const MediaRecord& media) {
  std::size_t count = 0;
  for (const ProgramRecord& program : media.programs) {
    count += program.video.size() + program.audio.size() + program.subpicture.size();
  }
  return count;
}

void CutTextsOnEachRow(Record& record, MediaRecord& media, std::size_t rows) {
  std::vector<std::string*> texts;
  for (MetadataEntry& entry : media.metadata) {
    auto* text = std::get_if<std::string>(&entry.value);
    if (text && std::ranges::count(kTextsOnEachRow, entry.key) > 0) texts.push_back(text);
  }
  const auto size = [&] {
    std::size_t bytes = 0;
    for (const std::string* text : texts) bytes += text->size();
    return bytes;
  };
  for (std::size_t length = kMostRecordBytes / 2; size() > kMostRecordBytes / rows && length >= kShortestCut;
       length /= 2) {
    record.truncated = true;
    for (std::string* text : texts) text->resize(platform::CutUtf8(*text, length).size());
  }
}

}  // namespace

void BoundRecord(Record& record) {
  auto* media = std::get_if<MediaRecord>(&record.answer);
  const std::size_t streams = media ? CountStreams(*media) : 0;
  if (streams > 0) CutTextsOnEachRow(record, *media, streams);
  LimitRecord(record);
  // To write a record only to learn its size costs as much as to write it out.
  if (streams > kStreamsThatFit && CompactJson(ToJson(record)).size() > kMostRecordBytes) record = TooLong(record);
}

Record TooLong(const Record& record) {
  Record failed;
  failed.input = record.input;
  failed.error = "the description is too long";
  return failed;
}

}  // namespace mediaprobe
