#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "command_line.h"
#include "core/log.h"
#include "digest_line.h"
#include "host.h"
#include "interrupt.h"
#include "json_formatter.h"
#include "output.h"
#include "prober.h"
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

/// The line on standard error that a record calls for, empty for none.
std::string Complaint(const Record& record) {
  if (record.error) return TerminalText(record.input) + ": " + TerminalText(*record.error);
  if (record.uuid_error) return TerminalText(record.input) + ": no UUID: " + TerminalText(*record.uuid_error);
  return {};
}

Record ProbeOne(const std::string& input, Prober& prober) {
  if (!isatty(STDERR_FILENO)) return prober.Probe(input, /*report=*/{});
  DigestLine line(input, stderr);
  return prober.Probe(input, [&line](std::uint64_t done, std::uint64_t total) { line.Show(done, total); });
}

/// Whether every input was answered.
bool ProbeAll(const Options& options, Prober& prober, Output& output) {
  // A person at a terminal sees standard error beside the blocks and need not read the same failure twice.
  const bool failures_are_seen = options.form == OutputForm::kText && isatty(STDOUT_FILENO) && isatty(STDERR_FILENO);
  bool all_answered = true;
  for (const std::string& input : options.inputs) {
    const Record record = ProbeOne(input, prober);
    if (!record.error || !failures_are_seen) output.Add(record);
    const std::string complaint = Complaint(record);
    if (complaint.empty()) continue;
    all_answered = false;
    output.Flush();
    Complain(complaint);
  }
  return all_answered;
}

[[noreturn]] void LeaveOnInterrupt(Output& output) {
  output.End();
  // The shell's next prompt is to start a line of its own.
  if (isatty(STDERR_FILENO)) Write("\n", stderr);
  // No destructor may wait for what was interrupted.
  _exit(kExitInterrupted);
}

int Run(const Options& options) {
  CoreLogSetLevel(options.log_level);
  CoreLogProtect(options.key.c_str());
  Output output(MakeFormatter(options.form), stdout);
  const InterruptWatch interrupts([&output] { LeaveOnInterrupt(output); });
  const Host host(LibraryFolder());
  if (!host.is_loaded()) {
    Complain("cannot load the media information module " + TerminalText(host.module_path()));
    return kExitFailed;
  }
  Prober prober([&host](const char* name) { return host.AcquireService(name); },
                {.service = options.service, .key = options.key, .wants_uuid = options.uuid});
  const bool all_answered = ProbeAll(options, prober, output);
  if (!output.End()) {
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
