#include "output/record_limit.h"

#include <algorithm>
#include <functional>
#include <string>
#include <variant>

#include "output/json_text.h"
#include "output/record_json.h"
#include "platform/utf8.h"

namespace mediaprobe {
namespace {

/// JSON writes a control character in six bytes.
constexpr std::size_t kMostGrowth = 6;
constexpr std::size_t kShortestCut = 16;

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

}  // namespace mediaprobe
