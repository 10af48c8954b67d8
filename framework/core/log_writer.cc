#include "log_writer.h"

#include <spdlog/details/log_msg.h>
#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <memory>
#include <system_error>
#include <utility>

#include "core/log.h"
#include "line_filter.h"
#include "platform/url_text.h"

namespace core {
namespace {

constexpr std::string_view kFileName = "mediainfo.log";

/// Longer texts are cut. Lines of ours stay far below; what comes near is a file's own text gone wild.
constexpr std::size_t kMaxTextBytes = 64 * 1024;
constexpr std::string_view kCutMark = "...";

/// Indexed by CoreLogLevel less kCoreLogTrace.
constexpr std::array kLevels{spdlog::level::trace, spdlog::level::debug, spdlog::level::info,
                             spdlog::level::warn,  spdlog::level::err,   spdlog::level::critical};
static_assert(kLevels.size() == kCoreLogFatal - kCoreLogTrace + 1);

spdlog::level::level_enum ToSpdlog(int level) {
  return kLevels[static_cast<std::size_t>(std::clamp<int>(level, kCoreLogTrace, kCoreLogFatal) - kCoreLogTrace)];
}

std::string Clean(std::string_view text, const std::vector<std::string>& protected_texts) {
  // Masked before anything else: cut or escaped, a protected text would no longer be recognised.
  std::string masked = platform::MaskUrls(MaskTexts(text, protected_texts));
  if (masked.size() > kMaxTextBytes) masked.replace(kMaxTextBytes, std::string::npos, kCutMark);
  return OneLine(masked);
}

}  // namespace

LogWriter::~LogWriter() = default;

void LogWriter::Write(std::string_view tag, int level, std::string_view text) {
  const std::lock_guard lock(mutex_);
  const std::string clean_tag = Clean(tag, protected_texts_);
  const std::string clean_text = Clean(text, protected_texts_);
  const spdlog::details::log_msg line(clean_tag, ToSpdlog(level), clean_text);

  if (!output_) output_ = std::make_shared<spdlog::sinks::stderr_sink_st>();
  for (const auto& sink : {output_, file_}) {
    if (!sink) continue;
    sink->log(line);
    // The line that matters most is the last one before a crash.
    sink->flush();
  }
}

void LogWriter::SetFolder(const std::string& folder) {
  const std::lock_guard lock(mutex_);
  file_.reset();
  if (folder.empty()) return;
  file_ = std::make_shared<spdlog::sinks::basic_file_sink_st>(folder + "/" + std::string(kFileName));
}

void LogWriter::SetFile(const std::string& path) {
  const std::lock_guard lock(mutex_);
  if (path.empty()) {
    output_.reset();
  } else {
    // The sink would make the folders that are missing.
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "a"), std::fclose);
    if (!file) throw std::system_error(errno, std::generic_category());
    output_ = std::make_shared<spdlog::sinks::basic_file_sink_st>(path);
  }
}

void LogWriter::Protect(std::string text) {
  const std::lock_guard lock(mutex_);
  if (std::ranges::find(protected_texts_, text) != protected_texts_.end()) return;
  protected_texts_.push_back(std::move(text));
}

}  // namespace core
