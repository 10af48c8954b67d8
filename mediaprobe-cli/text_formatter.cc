#include "text_formatter.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "headline.h"
#include "quantity_text.h"
#include "record_facts.h"
#include "stream_lines.h"
#include "terminal_text.h"

namespace mediaprobe {
namespace {

constexpr std::string_view kMargin = "  ";
constexpr std::string_view kGap = "  ";

struct Color {
  std::string_view on;
};
constexpr Color kBold{"\x1b[1m"};
constexpr Color kDim{"\x1b[2m"};
constexpr Color kRed{"\x1b[31m"};
constexpr std::string_view kPlain = "\x1b[0m";

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

std::string TextFormatter::Format(const Record& record) const {
  Block block(use_colors_);
  block.AddPainted(TerminalText(record.input), kBold);
  block.Add(": ");
  if (record.error) {
    block.AddPainted(TerminalText(*record.error), kRed);
    block.Add("\n");
    return block.Take();
  }
  block.Add(Headline(record) + "\n");
  if (const auto* media = std::get_if<MediaRecord>(&record.answer)) block.AddStreams(media->programs);
  block.AddFacts(FactsOf(record));
  if (is_full_) block.AddFacts(MetadataFacts(record));
  return block.Take();
}

}  // namespace mediaprobe
