#include "output/text_formatter.h"

#include <algorithm>
#include <array>
#include <limits>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "output/display_width.h"
#include "output/headline.h"
#include "output/quantity_text.h"
#include "output/record_facts.h"
#include "output/stream_lines.h"
#include "output/terminal_text.h"

namespace mediaprobe {
namespace {

constexpr std::size_t kMargin = 2;
constexpr std::size_t kGap = 2;
constexpr std::size_t kFewestColumns = 40;  // on fewer the terminal's own wrapping is no worse
constexpr std::size_t kAnyColumns = std::numeric_limits<std::size_t>::max();

struct Color {
  std::string_view on;
};
constexpr Color kNoColor{};
constexpr Color kBold{"\x1b[1m"};
constexpr Color kDim{"\x1b[2m"};
constexpr Color kRed{"\x1b[31m"};
constexpr std::string_view kPlain = "\x1b[0m";

std::size_t ColumnsFor(const TextLayout& layout) {
  const std::size_t columns = layout.columns.value_or(kAnyColumns);
  return columns < kFewestColumns ? kAnyColumns : columns;
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
      widths[column] = std::max(widths[column], DisplayWidth(row[column]));
    }
  }
}

std::size_t LabelWidth(const std::vector<Fact>& facts) {
  std::size_t width = 0;
  for (const Fact& fact : facts) width = std::max(width, DisplayWidth(fact.label));
  return width;
}

class Block {
 public:
  explicit Block(const TextLayout& layout) : use_colors_(layout.use_colors), columns_(ColumnsFor(layout)) {}

  /// `told` stands behind the name, or below it where the line would get too long.
  void AddHead(std::string_view name, std::string_view told, Color color);
  void AddStreams(const std::vector<ProgramRecord>& programs);
  void AddFacts(const std::vector<Fact>& facts);
  void AddGroup(const FactGroup& group);
  std::string Take() { return std::move(text_); }

 private:
  bool Fits(std::size_t indent, std::string_view text) const { return indent + DisplayWidth(text) <= columns_; }
  void Add(std::string_view text, Color color = kNoColor);
  void AddSpaces(std::size_t count) { text_.append(count, ' '); }
  /// Ends the line that stands at column `indent`, and goes on below from the same column where the text does not fit.
  void AddWrapped(std::string_view text, std::size_t indent, Color color = kNoColor);
  void AddStream(const StreamCells& row, const ColumnWidths& widths, std::size_t margin);

  bool use_colors_;
  std::size_t columns_;
  std::string text_;
};

void Block::Add(std::string_view text, Color color) {
  const bool paints = use_colors_ && !color.on.empty();
  if (paints) text_ += color.on;
  text_ += text;
  if (paints) text_ += kPlain;
}

void Block::AddWrapped(std::string_view text, std::size_t indent, Color color) {
  bool is_first = true;
  for (const std::string_view line : WrappedLines(text, columns_ - indent)) {
    if (!is_first) AddSpaces(indent);
    Add(line, color);
    Add("\n");
    is_first = false;
  }
}

void Block::AddHead(std::string_view name, std::string_view told, Color color) {
  Add(name, kBold);
  if (Fits(DisplayWidth(name) + 2, told)) {
    Add(": ");
    Add(told, color);
    Add("\n");
    return;
  }
  Add(":\n");
  AddSpaces(kMargin);
  AddWrapped(told, kMargin, color);
}

/// Columns that no stream fills take no room, and nothing is padded up to the end of the line. Cells past the end of
/// the terminal's line follow below.
void Block::AddStream(const StreamCells& row, const ColumnWidths& widths, std::size_t margin) {
  AddSpaces(margin);
  Add(row[0], kDim);
  std::size_t end = margin + DisplayWidth(row[0]);
  std::size_t start = margin + widths[0] + kGap;
  const std::size_t indent = start;
  std::string rest;
  for (std::size_t column = 1; column < kStreamColumns; ++column) {
    if (row[column].empty()) {
      if (widths[column] > 0) start += widths[column] + kGap;
      continue;
    }
    if (!rest.empty() || !Fits(start, row[column])) {
      rest.append(rest.empty() ? 0 : kGap, ' ').append(row[column]);
      continue;
    }
    AddSpaces(start - end);
    Add(row[column]);
    end = start + DisplayWidth(row[column]);
    start += widths[column] + kGap;
  }
  Add("\n");
  if (rest.empty()) return;
  AddSpaces(indent);
  AddWrapped(rest, indent);
}

void Block::AddStreams(const std::vector<ProgramRecord>& programs) {
  std::vector<std::vector<StreamCells>> rows_by_program;
  ColumnWidths widths{};
  for (const ProgramRecord& program : programs) {
    rows_by_program.push_back(StreamLines(program));
    Widen(widths, rows_by_program.back());
  }
  const bool name_programs = programs.size() > 1;
  for (std::size_t i = 0; i < programs.size(); ++i) {
    if (name_programs) {
      AddSpaces(kMargin);
      Add(ProgramLine(programs[i]) + "\n");
    }
    for (const StreamCells& row : rows_by_program[i]) AddStream(row, widths, name_programs ? 2 * kMargin : kMargin);
  }
}

void Block::AddFacts(const std::vector<Fact>& facts) {
  const std::size_t width = LabelWidth(facts);
  for (const Fact& fact : facts) {
    AddSpaces(kMargin);
    Add(fact.label, kDim);
    AddSpaces(width - DisplayWidth(fact.label) + kGap);
    AddWrapped(fact.value, kMargin + width + kGap);
  }
}

void Block::AddGroup(const FactGroup& group) {
  AddSpaces(kMargin);
  Add(group.heading + "\n");
  const std::size_t width = LabelWidth(group.facts);
  for (const Fact& fact : group.facts) {
    AddSpaces(2 * kMargin);
    Add(fact.label, kDim);
    const std::size_t start = 2 * kMargin + width + kGap;
    if (Fits(start, fact.value)) {
      AddSpaces(width - DisplayWidth(fact.label) + kGap);
      AddWrapped(fact.value, start);
      continue;
    }
    // Labels are long here: beside them little would fit a line.
    Add("\n");
    AddSpaces(3 * kMargin);
    AddWrapped(fact.value, 3 * kMargin);
  }
}

}  // namespace

std::string TextFormatter::Format(const Record& record) const {
  Block block(layout_);
  const std::string name = TerminalText(record.input);
  if (record.error) {
    block.AddHead(name, TerminalText(*record.error), kRed);
    return block.Take();
  }
  block.AddHead(name, Headline(record), kNoColor);
  if (const auto* media = std::get_if<MediaRecord>(&record.answer)) block.AddStreams(media->programs);
  block.AddFacts(FactsOf(record));
  if (layout_.is_full) {
    for (const FactGroup& group : MetadataOf(record)) block.AddGroup(group);
  }
  return block.Take();
}

}  // namespace mediaprobe
