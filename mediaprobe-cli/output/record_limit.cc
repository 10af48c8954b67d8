#include "output/record_limit.h"

#include <algorithm>
#include <functional>
#include <string>
#include <variant>
#include <vector>

#include "mediainfo/metedata_keys.h"
#include "output/json_text.h"
#include "output/record_json.h"
#include "platform/utf8.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

/// JSON writes a control character in six bytes.
constexpr std::size_t kMostGrowth = 6;
constexpr std::size_t kShortestCut = 16;
/// As csv_formatter.cc has columns for them.
constexpr const char* kTextsOnEachRow[] = {keys::kTitle, keys::kArtist, keys::kMaker, keys::kModel};
/// A stream without its texts takes less than 4 KB, with every key that there is.
constexpr std::size_t kStreamsThatFit = kMostRecordBytes / 4096;

using Visit = std::function<void(std::string& text)>;

void VisitTexts(std::optional<std::string>& text, const Visit& visit) {
  if (text) visit(*text);
}

void VisitTexts(Metadata& metadata, const Visit& visit) {
  for (MetadataEntry& entry : metadata) {
    if (auto* text = std::get_if<std::string>(&entry.value)) visit(*text);
  }
}

void VisitTexts(StreamRecord& stream, const Visit& visit) {
  VisitTexts(stream.codec, visit);
  VisitTexts(stream.language, visit);
}

void VisitTexts(VideoRecord& video, const Visit& visit) {
  VisitTexts(static_cast<StreamRecord&>(video), visit);
  VisitTexts(video.metadata, visit);
}

void VisitTexts(MediaRecord& media, const Visit& visit) {
  for (ProgramRecord& program : media.programs) {
    for (VideoRecord& video : program.video) VisitTexts(video, visit);
    for (AudioRecord& audio : program.audio) VisitTexts(audio, visit);
    for (SubpictureRecord& subpicture : program.subpicture) VisitTexts(subpicture, visit);
  }
  VisitTexts(media.metadata, visit);
}

void VisitTexts(ImageRecord& image, const Visit& visit) { VisitTexts(image.metadata, visit); }
void VisitTexts(SvgRecord& /*svg*/, const Visit& /*visit*/) {}

void VisitTexts(Record& record, const Visit& visit) {
  VisitTexts(record.error, visit);
  VisitTexts(record.aigc, visit);
  std::visit([&visit](auto& answer) { VisitTexts(answer, visit); }, record.answer);
}

bool Fits(const Record& record, std::size_t most) { return CompactJson(ToJson(record)).size() <= most; }

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

void LimitRecord(Record& record, std::size_t most) {
  std::size_t bytes = 0;
  std::size_t longest = 0;
  VisitTexts(record, [&](const std::string& text) {
    bytes += text.size();
    longest = std::max(longest, text.size());
  });
  // To write the record only to learn its size costs as much as to write it out: what is surely short is not tried.
  if (bytes * kMostGrowth <= most / 2 || Fits(record, most)) return;
  record.truncated = true;
  for (std::size_t length = longest / 2; length >= kShortestCut && !Fits(record, most); length /= 2) {
    VisitTexts(record, [length](std::string& text) { text.resize(platform::CutUtf8(text, length).size()); });
  }
}

void BoundRecord(Record& record) {
  auto* media = std::get_if<MediaRecord>(&record.answer);
  const std::size_t streams = media ? CountStreams(*media) : 0;
  if (streams > 0) CutTextsOnEachRow(record, *media, streams);
  LimitRecord(record);
  // To write a record only to learn its size costs as much as to write it out.
  if (streams > kStreamsThatFit && !Fits(record, kMostRecordBytes)) record = TooLong(record);
}

Record TooLong(const Record& record) {
  Record failed;
  failed.input = record.input;
  failed.error = "the description is too long";
  return failed;
}

}  // namespace mediaprobe
