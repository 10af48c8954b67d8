#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "command_line.h"
#include "core/log.h"
#include "host.h"
#include "json_formatter.h"
#include "media_prober.h"
#include "mediainfo/service_ids.h"
#include "terminal_text.h"
#include "text_formatter.h"

namespace mediaprobe {
namespace {

void Write(std::string_view text, std::FILE* file) { std::fwrite(text.data(), 1, text.size(), file); }

void Complain(const std::string& words) { Write("mediaprobe: " + words + "\n", stderr); }

bool IsSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value && *value;
}

bool UseColors() { return isatty(STDOUT_FILENO) && !IsSet("NO_COLOR"); }

std::unique_ptr<RecordFormatter> MakeFormatter(OutputForm form) {
  switch (form) {
    case OutputForm::kJson:
      return std::make_unique<JsonFormatter>();
    case OutputForm::kNdjson:
      return std::make_unique<NdjsonFormatter>();
    case OutputForm::kText:
      break;
  }
  return std::make_unique<TextFormatter>(UseColors());
}

/// Whether every input was answered.
bool ProbeAll(const Options& options, const MediaProber& prober, RecordFormatter& formatter) {
  // A person at a terminal sees standard error beside the blocks and need not read the same failure twice.
  const bool failures_are_seen = options.form == OutputForm::kText && isatty(STDOUT_FILENO) && isatty(STDERR_FILENO);
  bool all_answered = true;
  for (const std::string& input : options.inputs) {
    const Record record = prober.Probe(input);
    if (!record.error || !failures_are_seen) Write(formatter.Format(record), stdout);
    if (!record.error) continue;
    all_answered = false;
    std::fflush(stdout);
    Complain(TerminalText(input) + ": " + TerminalText(*record.error));
  }
  Write(formatter.End(), stdout);
  return all_answered;
}

int Run(const Options& options) {
  CoreLogSetLevel(options.log_level);
  CoreLogProtect(options.key.c_str());
  const Host host(LibraryFolder());
  const auto service = host.AcquireService(service::mediainfo::kMediaFileInfoServiceName);
  if (!service) {
    Complain("cannot load the media information module " + TerminalText(host.module_path()));
    return kExitFailed;
  }
  const auto formatter = MakeFormatter(options.form);
  const bool all_answered = ProbeAll(options, MediaProber(*service, options.key), *formatter);
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
    Complain(std::string("cannot write the output: ") + std::strerror(errno));
    return kExitFailed;
  }
  return all_answered ? kExitAnswered : kExitFailed;
}

}  // namespace
}  // namespace mediaprobe

int main(int argc, char** argv) {
  const auto parsed = mediaprobe::ParseCommandLine(argc, argv);
  if (const auto* leave = std::get_if<mediaprobe::EarlyExit>(&parsed)) {
    mediaprobe::Write(leave->text, leave->status == mediaprobe::kExitAnswered ? stdout : stderr);
    return leave->status;
  }
  return mediaprobe::Run(std::get<mediaprobe::Options>(parsed));
}
