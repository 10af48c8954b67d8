#include "text_formatter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

#include "aigc_label.h"
#include "date_text.h"
#include "mediainfo/metedata_keys.h"
#include "metadata_reader.h"
#include "quantity_text.h"
#include "stream_lines.h"
#include "terminal_text.h"

namespace mediaprobe {
namespace {

namespace keys = service::mediainfo::metedata_keys;

constexpr std::string_view kMargin = "  ";
constexpr std::string_view kGap = "  ";
constexpr std::size_t kMostCharacters = 240;  // of a tag: a few lines of a terminal
constexpr int kPlaceDecimals = 6;             // a tenth of a metre

struct Color {
  std::string_view on;
};
constexpr Color kBold{"\x1b[1m"};
constexpr Color kDim{"\x1b[2m"};
constexpr Color kRed{"\x1b[31m"};
constexpr std::string_view kPlain = "\x1b[0m";

struct TagLabel {
  std::string_view key;
  std::string_view label;
};

/// The tags that a summary shows. The actor is told as the artist.
constexpr TagLabel kTags[] = {
    {keys::kTitle, "title"},         {keys::kArtist, "artist"},
    {keys::kAlbum, "album"},         {keys::kTrackNumber, "track"},
    {keys::kGenre, "genre"},         {keys::kPublisher, "publisher"},
    {keys::kShow, "show"},           {keys::kReleaseDate, "released"},
    {keys::kDirector, "director"},   {keys::kProducer, "producer"},
    {keys::kScreenwriter, "writer"}, {keys::kTvnetwork, "network"},
    {keys::kTagline, "tagline"},     {keys::kDescription, "description"},
    {keys::kComment, "comment"},
};

struct Fact {
  std::string_view label;
  std::string value;
};

std::string Shown(std::string_view tag) { return ShortTerminalText(tag, kMostCharacters); }

std::string Headline(const MediaRecord& media) {
  std::string line = TerminalText(media.format);
  if (media.duration_100ns) line += ", " + DurationText(*media.duration_100ns);
  if (media.size_bytes) line += ", " + SizeText(*media.size_bytes);
  if (media.bit_rate_bps) line += ", " + BitRateText(*media.bit_rate_bps);
  return line;
}

std::string ProgramLine(const ProgramRecord& program) {
  std::string line = "program " + std::to_string(program.id);
  if (program.duration_100ns) line += ", " + DurationText(*program.duration_100ns);
  if (program.bit_rate_bps) line += ", " + BitRateText(*program.bit_rate_bps);
  return line;
}

using ColumnWidths = std::array<std::size_t, kStreamColumns>;

void Widen(ColumnWidths& widths, const std::vector<StreamCells>& rows) {
  for (const StreamCells& row : rows) {
    for (std::size_t column = 0; column < kStreamColumns; ++column) {
      widths[column] = std::max(widths[column], row[column].size());
    }
  }
}

/// Columns that no stream fills take no room, and nothing is padded up to the end of the line.
std::string AlignedCells(const StreamCells& row, const ColumnWidths& widths, std::size_t first_column) {
  std::string line;
  std::size_t missing = 0;
  for (std::size_t column = first_column; column < kStreamColumns; ++column) {
    if (widths[column] == 0) continue;
    if (!row[column].empty()) {
      line.append(missing, ' ').append(row[column]);
      missing = 0;
    }
    missing += widths[column] - row[column].size() + kGap.size();
  }
  return line;
}

std::string LocalDate(std::int64_t seconds) {
  std::string text = Iso8601Local(seconds).value_or("");
  if (text.empty()) return text;
  text[text.find('T')] = ' ';
  text.insert(text.find_last_of("+-"), 1, ' ');
  return text;
}

std::string Place(const Location& location) {
  return DecimalText(std::abs(location.latitude), kPlaceDecimals) + (location.latitude < 0 ? " S, " : " N, ") +
         DecimalText(std::abs(location.longitude), kPlaceDecimals) + (location.longitude < 0 ? " W" : " E");
}

/// The maker is not repeated where the model starts with it.
std::string Camera(const Metadata& metadata) {
  const std::string maker = MetadataText(metadata, keys::kMaker).value_or("");
  const std::string model = MetadataText(metadata, keys::kModel).value_or("");
  if (model.starts_with(maker)) return Shown(model);
  return Shown(model.empty() ? maker : maker + " " + model);
}

/// "Label 1, ContentProducer Studio": what is not empty in the label, also where it is wrapped in an object "AIGC".
std::string AigcSummary(const std::string& text) {
  auto label = ParseAigcLabel(text);
  if (!label) return Shown(text);
  if (const auto inner = label->find("AIGC"); inner != label->end() && inner->is_object()) {
    label = nlohmann::ordered_json(*inner);
  }
  std::string summary;
  for (const auto& [key, value] : label->items()) {
    const std::string shown = value.is_string() ? value.get<std::string>() : value.dump();
    if (shown.empty()) continue;
    if (!summary.empty()) summary += ", ";
    summary.append(key).append(" ").append(shown);
  }
  return Shown(summary);
}

std::vector<Fact> FactsOf(const Record& record) {
  std::vector<Fact> facts;
  const auto add = [&facts](std::string_view label, std::string value) {
    if (!value.empty()) facts.push_back({label, std::move(value)});
  };
  for (const TagLabel& tag : kTags) {
    add(tag.label, Shown(MetadataText(record.media.metadata, tag.key).value_or("")));
  }
  if (record.created_s) add("created", LocalDate(*record.created_s));
  if (record.modified_s && record.modified_s != record.created_s) add("modified", LocalDate(*record.modified_s));
  if (record.location) add("place", Place(*record.location));
  add("camera", Camera(record.media.metadata));
  if (record.aigc) add("AI label", AigcSummary(*record.aigc));
  return facts;
}

class Block {
 public:
  explicit Block(bool use_colors) : use_colors_(use_colors) {}

  void AddPainted(std::string_view text, Color color) {
    if (use_colors_) text_ += color.on;
    text_ += text;
    if (use_colors_) text_ += kPlain;
  }
  void Add(std::string_view text) { text_ += text; }
  void AddStreams(const std::vector<ProgramRecord>& programs);
  void AddFacts(const std::vector<Fact>& facts);
  std::string Take() { return std::move(text_); }

 private:
  bool use_colors_;
  std::string text_;
};

void Block::AddStreams(const std::vector<ProgramRecord>& programs) {
  std::vector<std::vector<StreamCells>> rows_by_program;
  ColumnWidths widths{};
  for (const ProgramRecord& program : programs) {
    rows_by_program.push_back(StreamLines(program));
    Widen(widths, rows_by_program.back());
  }
  const bool name_programs = programs.size() > 1;
  for (std::size_t i = 0; i < programs.size(); ++i) {
    if (name_programs) Add(std::string(kMargin) + ProgramLine(programs[i]) + "\n");
    for (const StreamCells& row : rows_by_program[i]) {
      Add(kMargin);
      if (name_programs) Add(kMargin);
      AddPainted(row[0], kDim);
      Add(std::string(widths[0] - row[0].size(), ' ').append(kGap));
      Add(AlignedCells(row, widths, /*first_column=*/1) + "\n");
    }
  }
}

void Block::AddFacts(const std::vector<Fact>& facts) {
  std::size_t width = 0;
  for (const Fact& fact : facts) width = std::max(width, fact.label.size());
  for (const Fact& fact : facts) {
    Add(kMargin);
    AddPainted(fact.label, kDim);
    Add(std::string(width - fact.label.size(), ' ').append(kGap) + fact.value + "\n");
  }
}

}  // namespace

std::string TextFormatter::Format(const Record& record) {
  Block block(use_colors_);
  if (!std::exchange(empty_, false)) block.Add("\n");
  block.AddPainted(TerminalText(record.input), kBold);
  block.Add(": ");
  if (record.error) {
    block.AddPainted(TerminalText(*record.error), kRed);
    block.Add("\n");
    return block.Take();
  }
  block.Add(Headline(record.media) + "\n");
  block.AddStreams(record.media.programs);
  block.AddFacts(FactsOf(record));
  return block.Take();
}

}  // namespace mediaprobe
