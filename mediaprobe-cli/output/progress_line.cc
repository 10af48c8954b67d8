#include "output/progress_line.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "output/quantity_text.h"
#include "output/terminal_columns.h"
#include "output/terminal_text.h"

namespace mediaprobe {
namespace {

constexpr char kFreshLine[] = "\r\x1b[K";
constexpr std::chrono::milliseconds kFirstAfter{1000};
constexpr std::chrono::milliseconds kStep{200};
constexpr std::size_t kUsualColumns = 80;
constexpr std::size_t kLeastNameColumns = 8;

std::size_t ColumnsOf(std::FILE* terminal) { return TerminalColumns(fileno(terminal)).value_or(kUsualColumns); }

std::string TimeText(double seconds) {
  const auto whole = static_cast<std::uint64_t>(std::llround(std::clamp(seconds, 0.0, 360'000.0)));
  const std::string rest = std::to_string(100 + whole % 60).substr(1);
  if (whole < 3600) return std::to_string(whole / 60) + ":" + rest;
  return std::to_string(whole / 3600) + ":" + std::to_string(100 + whole / 60 % 60).substr(1) + ":" + rest;
}

std::string CountText(const RunProgress& progress) {
  std::string text = GroupedText(progress.answered);
  if (progress.total) text += " of " + GroupedText(*progress.total);
  const double rate =
      progress.elapsed.count() > 0 ? static_cast<double>(progress.answered) / progress.elapsed.count() : 0;
  text += ", " + DecimalText(rate, rate < 10 ? 1 : 0) + "/s";
  if (progress.total && rate > 0 && *progress.total >= progress.answered) {
    text += ", " + TimeText(static_cast<double>(*progress.total - progress.answered) / rate) + " left";
  }
  return text;
}

std::string DigestText(const RunProgress::Digest& digest) {
  if (digest.total == 0) return ": digesting, " + ShortSizeText(digest.done);
  const auto percent = static_cast<int>(100.0 * static_cast<double>(digest.done) / static_cast<double>(digest.total));
  return ": digesting, " + std::to_string(percent) + " % of " + ShortSizeText(digest.total);
}

}  // namespace

std::string ProgressText(const RunProgress& progress, std::size_t columns) {
  const bool is_single = progress.total == 1;
  if (is_single && !progress.digest) return {};
  const std::string count = is_single ? std::string() : CountText(progress);
  const std::string digest = progress.digest ? DigestText(*progress.digest) : std::string();
  // A line that wraps cannot be wiped. A name that is cut ends in three dots.
  const std::size_t taken = count.size() + 2 + 3 + digest.size() + 1;
  std::string text = count;
  if (progress.current.empty() || taken + kLeastNameColumns > columns) return text.substr(0, columns - 1);
  if (!text.empty()) text += ", ";
  return text + ShortTerminalText(progress.current, columns - taken) + digest;
}

ProgressLine::ProgressLine(std::FILE* terminal) : terminal_(terminal), next_(started_ + kFirstAfter) {}

void ProgressLine::Show(RunProgress progress) {
  const auto now = Clock::now();
  if (!terminal_ || now < next_) return;
  next_ = now + kStep;
  progress.elapsed = now - started_;
  text_ = ProgressText(progress, ColumnsOf(terminal_));
  if (!text_.empty()) Draw();
}

void ProgressLine::Wipe() {
  if (!is_shown_) return;
  is_shown_ = false;
  std::fputs(kFreshLine, terminal_);
  std::fflush(terminal_);
}

void ProgressLine::Restore(bool is_below_open_line) {
  is_below_open_line_ = is_below_open_line;
  if (!text_.empty()) Draw();
}

void ProgressLine::Draw() {
  is_shown_ = true;
  std::fprintf(terminal_, "%s%s", std::exchange(is_below_open_line_, false) ? "\n" : kFreshLine, text_.c_str());
  std::fflush(terminal_);
}

}  // namespace mediaprobe
