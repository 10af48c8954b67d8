#include "digest_line.h"

#include <utility>

#include "quantity_text.h"
#include "terminal_text.h"

namespace mediaprobe {
namespace {

constexpr char kFreshLine[] = "\r\x1b[K";
constexpr std::size_t kMostCharacters = 36;  // of the name: a line that wraps cannot be wiped

}  // namespace

std::string DigestText(const std::string& name, std::uint64_t done, std::uint64_t total) {
  const std::string text = ShortTerminalText(name, kMostCharacters) + ": digesting, ";
  if (total == 0) return text + ShortSizeText(done);
  const int percent = static_cast<int>(100.0 * static_cast<double>(done) / static_cast<double>(total));
  return text + std::to_string(percent) + " % of " + ShortSizeText(total);
}

DigestLine::DigestLine(std::string name, std::FILE* terminal, std::chrono::milliseconds first_after)
    : name_(std::move(name)), terminal_(terminal), first_at_(Clock::now() + first_after) {}

DigestLine::~DigestLine() {
  if (!is_shown_) return;
  std::fputs(kFreshLine, terminal_);
  std::fflush(terminal_);
}

void DigestLine::Show(std::uint64_t done, std::uint64_t total) {
  if (Clock::now() < first_at_) return;
  is_shown_ = true;
  std::fprintf(terminal_, "%s%s", kFreshLine, DigestText(name_, done, total).c_str());
  std::fflush(terminal_);
}

}  // namespace mediaprobe
