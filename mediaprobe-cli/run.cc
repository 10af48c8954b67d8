#include "run.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/error_text.h"
#include "core/log.h"
#include "host.h"
#include "inputs/listed_inputs.h"
#include "inputs/same_file.h"
#include "inputs/streamed_inputs.h"
#include "inputs/walked_inputs.h"
#include "interrupt.h"
#include "listings.h"
#include "mediainfo/service_ids.h"
#include "output/csv_formatter.h"
#include "output/json_formatter.h"
#include "output/output.h"
#include "output/progress_line.h"
#include "output/record_limit.h"
#include "output/terminal_columns.h"
#include "output/terminal_text.h"
#include "output/text_formatter.h"
#include "platform/url_text.h"
#include "platform/utf8.h"
#include "probe/digest_watch.h"
#include "probe/failure_reason.h"
#include "probe/input_path.h"
#include "worker/confinement.h"
#include "worker/first_try.h"
#include "worker/provisions.h"
#include "worker/run_here.h"
#include "worker/wishes.h"
#include "worker/worker_pool.h"

namespace mediaprobe {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFileTimeout{10'000};
constexpr milliseconds kNetworkTimeout{30'000};

void Complain(const std::string& words) { std::fputs(("mediaprobe: " + words + "\n").c_str(), stderr); }

/// Why nothing more can be written to a file, or to standard output where that has no name.
void ComplainOfOutput(const std::string& file, int error) {
  // A reader that has seen enough is no failure to talk about.
  if (error == EPIPE) return;
  Complain("cannot write " + (file.empty() ? "the output" : TerminalText(file)) + ": " + std::strerror(error));
}

/// The exit status, once all that is to be written has been.
int Interrupted() {
  // The shell's next prompt is to start a line of its own.
  if (isatty(STDERR_FILENO)) std::fputs("\n", stderr);
  return kExitInterrupted;
}

bool IsSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value && *value;
}

bool GoesToTerminal(const Options& options) { return options.output.empty() && isatty(STDOUT_FILENO) != 0; }

TextLayout LayoutFor(const Options& options) {
  TextLayout layout{.use_colors = false, .is_full = options.full, .columns = std::nullopt};
  if (!GoesToTerminal(options)) return layout;
  layout.use_colors = !IsSet("NO_COLOR");
  layout.columns = TerminalColumns(STDOUT_FILENO);
  return layout;
}

std::unique_ptr<RecordFormatter> MakeFormatter(const Options& options) {
  switch (options.form) {
    case OutputForm::kJson:
      return std::make_unique<JsonFormatter>();
    case OutputForm::kNdjson:
      return std::make_unique<NdjsonFormatter>();
    case OutputForm::kCsv:
      return std::make_unique<CsvFormatter>(GoesToTerminal(options));
    case OutputForm::kText:
      break;
  }
  return std::make_unique<TextFormatter>(LayoutFor(options));
}

std::unique_ptr<InputSource> MakeSource(const Options& options) {
  std::unique_ptr<InputSource> source;
  if (options.from_standard_input) {
    source = std::make_unique<StreamedInputs>(STDIN_FILENO, options.separator);
  } else {
    source = std::make_unique<ListedInputs>(options.inputs);
  }
  if (!options.walk) return source;
  return std::make_unique<WalkedInputs>(std::move(source), *options.walk);
}

milliseconds TimeLimit(const Options& options, const Input& input) {
  return options.timeout.value_or(IsNetworkUrl(input.name) ? kNetworkTimeout : kFileTimeout);
}

/// An input's name in a line on standard error, cut where it is longer than paths are.
std::string ShownName(const std::string& input) {
  constexpr std::size_t kMostBytes = 8 * 1024;
  const std::string name = TerminalText(input);
  return name.size() <= kMostBytes ? name : std::string(platform::CutUtf8(name, kMostBytes)) + "...";
}

/// The line on standard error that a record calls for, empty for none.
std::string Complaint(const Record& record) {
  if (record.error) return ShownName(record.input) + ": " + TerminalText(*record.error);
  if (record.uuid_error) return ShownName(record.input) + ": no UUID: " + TerminalText(*record.uuid_error);
  return {};
}

/// While it lives, interrupts that are held back come through.
class InterruptsPass {
 public:
  explicit InterruptsPass(Interrupts& interrupts) : interrupts_(interrupts) { interrupts_.LetThrough(); }
  ~InterruptsPass() { interrupts_.HoldBack(); }
  InterruptsPass(const InterruptsPass&) = delete;
  InterruptsPass& operator=(const InterruptsPass&) = delete;

 private:
  Interrupts& interrupts_;
};

/// This process's descriptors of that file.
std::vector<int> DescriptorsOf(const std::string& path) {
  constexpr int kMostDescriptors = 256;
  std::vector<int> descriptors;
  struct stat wanted {};
  if (stat(path.c_str(), &wanted) != 0) return descriptors;
  for (int descriptor = STDERR_FILENO + 1; descriptor < kMostDescriptors; ++descriptor) {
    struct stat status {};
    if (fstat(descriptor, &status) != 0) continue;
    if (status.st_dev == wanted.st_dev && status.st_ino == wanted.st_ino) descriptors.push_back(descriptor);
  }
  return descriptors;
}

/// One run over the inputs of a command line.
class InputRun {
 public:
  InputRun(const Options& options, const Host& host, const RecordFormatter& formatter, Interrupts& interrupts,
           Output& output);

  /// Whether every input was answered, or why not. With a `restart_line` the first one is tried in this process.
  int Run(InputSource& source, char* const* restart_line);

 private:
  RunCallbacks MakeCallbacks();
  void RunInWorkers(InputSource& source, RunCallbacks callbacks);
  Confinement MakeConfinement() const;
  /// What every worker is to have; what few need is loaded for those that wish for it.
  void Provide(Provisions& provisions);
  Answer AnswerOne(const Input& input, const ReportDigest& report);
  /// In this process, or else in a worker of a program that starts over.
  Answer TryOne(const Input& input, const ReportDigest& report, char* const* restart_line);
  Answer AnswerFor(const Input& input, Record& record) const;
  Answer Write(const Record& record) const;
  bool Take(const Answer& answer);

  const Options& options_;
  const Host& host_;
  const RecordFormatter& formatter_;
  Interrupts& interrupts_;
  Output& output_;
  Prober prober_;
  ProgressLine progress_;
  std::optional<std::uint64_t> total_;
  bool failures_are_seen_;
  bool all_answered_ = true;
  bool is_written_ = true;
};

bool ShowsProgress(const Options& options) { return options.progress.value_or(isatty(STDERR_FILENO) != 0); }

InputRun::InputRun(const Options& options, const Host& host, const RecordFormatter& formatter, Interrupts& interrupts,
                   Output& output)
    : options_(options),
      host_(host),
      formatter_(formatter),
      interrupts_(interrupts),
      output_(output),
      prober_([&host](const char* name) { return host.AcquireService(name); },
              {.service = options.service, .key = options.key, .wants_uuid = options.uuid}),
      progress_(ShowsProgress(options) ? stderr : nullptr),
      // A person at a terminal sees standard error beside the blocks and need not read the same failure twice.
      failures_are_seen_(options.form == OutputForm::kText && GoesToTerminal(options) && isatty(STDERR_FILENO)) {}

Answer InputRun::AnswerFor(const Input& input, Record& record) const {
  if (input.found_by_walk && record.error && IsNothingToRead(*record.error)) return {};
  BoundRecord(record);
  const Answer answer = Write(record);
  // A worker's message has room for no more: each way of running is to write the same.
  const bool has_room = answer.text.size() <= frame::kMostTextBytes && answer.error.size() <= frame::kMostErrorBytes;
  return has_room ? answer : Write(TooLong(record));
}

Answer InputRun::Write(const Record& record) const {
  Answer answer{{}, Complaint(record)};
  if (!record.error || !failures_are_seen_) answer.text = formatter_.Format(record);
  return answer;
}

Answer InputRun::AnswerOne(const Input& input, const ReportDigest& report) {
  Record record = prober_.Probe(input.name, report);
  return AnswerFor(input, record);
}

bool InputRun::Take(const Answer& answer) {
  const bool may_be_seen = output_.is_terminal() || output_.is_pipe();
  if (!answer.error.empty() || (may_be_seen && !answer.text.empty())) progress_.Wipe();
  is_written_ = output_.Add(answer.text);
  bool is_line_open = output_.is_terminal() && output_.is_line_open();
  if (!answer.error.empty()) {
    all_answered_ = false;
    if (std::exchange(is_line_open, false) && isatty(STDERR_FILENO)) std::fputs("\n", stderr);
    Complain(answer.error);
  }
  // When the reader of a pipe will write what, nobody knows: the line waits for its next time there.
  if (!output_.is_pipe()) progress_.Restore(is_line_open);
  return is_written_;
}

RunCallbacks InputRun::MakeCallbacks() {
  RunCallbacks callbacks;
  callbacks.fail = [this](const Input& input, const std::string& reason) {
    Record record;
    record.input = platform::MaskUrl(input.name);
    record.error = reason;
    return AnswerFor(input, record);
  };
  callbacks.time_limit = [this](const Input& input) { return TimeLimit(options_, input); };
  // The reader of the output may take its time: nobody is to wait for that who wants to end the run.
  callbacks.take = [this](const Answer& answer) {
    const InterruptsPass pass(interrupts_);
    return Take(answer);
  };
  callbacks.wait = [this](const RunCallbacks::Progress& progress) {
    RunProgress now{.answered = progress.answered, .total = total_, .current = platform::MaskUrl(progress.current)};
    if (progress.digest) now.digest = {progress.digest->done, progress.digest->total};
    progress_.Show(std::move(now));
  };
  callbacks.stop = [this] {
    // A wait that has something to tell at once lets no signal through.
    { const InterruptsPass pass(interrupts_); }
    return interrupts_.happened();
  };
  callbacks.wait_mask = interrupts_.wait_mask();
  return callbacks;
}

Confinement InputRun::MakeConfinement() const {
  Confinement::Settings settings;
  if (!options_.from_standard_input) settings.places = options_.inputs;
  settings.reads_all_frames = options_.uuid;
  settings.tells_on_standard_error = options_.log_level != kCoreLogOff && options_.log_file.empty();
  return Confinement(std::move(settings));
}

void InputRun::Provide(Provisions& provisions) {
  // Loaded once here rather than in every worker.
  prober_.Prepare();
  provisions.Foresee(options_.inputs);
  if (options_.uuid) {
    provisions.Load(service::mediainfo::kMediaUuidServiceName);
    provisions.Load(kDigestLibraryName);
  }
  // Workers cannot read the zone of the dates.
  tzset();
}

Answer InputRun::TryOne(const Input& input, const ReportDigest& report, char* const* restart_line) {
  GiveUpChanges();
  const FirstTry watch(restart_line, options_.memory_bytes, TimeLimit(options_, input));
  try {
    return AnswerOne(input, report);
  } catch (const std::bad_alloc&) {
    FirstTry::StartOver();
  }
}

void InputRun::RunInWorkers(InputSource& source, RunCallbacks callbacks) {
  Provisions provisions(host_.module_folder(), [this](const char* service) { prober_.Prepare(service); });
  Provide(provisions);
  const Confinement confinement = MakeConfinement();
  const bool is_strict = options_.isolation == Isolation::kStrict;
  const std::vector<int> log = options_.log_file.empty() ? std::vector<int>() : DescriptorsOf(options_.log_file);

  callbacks.company = [is_strict](const Input& input) {
    if (is_strict) return Company::kAlone;
    return IsNetworkUrl(input.name) ? Company::kNetwork : Company::kFiles;
  };
  callbacks.enter = [&](const Input& input, Company company, int descriptor) {
    provisions.WatchLoading();
    std::vector<int> kept = log;
    kept.push_back(descriptor);
    if (options_.uuid) kept.push_back(DigestWatch::KeepCounters());
    return confinement.Enter(input, company, kept);
  };
  callbacks.answer = [&](const Input& input, const ReportDigest& report) {
    Record record = prober_.Probe(input.name, report);
    const auto& reason = record.error ? record.error : record.uuid_error;
    if (reason && IsOutOfReach(input.name, *reason)) LeaveWithWish(kWishForOwnProcess);
    return AnswerFor(input, record);
  };
  callbacks.grant = [&](int wish) { return provisions.Grant(wish); };
  WorkerPool({.jobs = options_.jobs, .memory_bytes = options_.memory_bytes, .wants_digests = options_.uuid},
             std::move(callbacks))
      .Run(source);
}

int InputRun::Run(InputSource& source, char* const* restart_line) {
  total_ = source.total();
  interrupts_.HoldBack();
  RunCallbacks callbacks = MakeCallbacks();
  if (options_.isolation == Isolation::kNone || restart_line != nullptr) {
    callbacks.answer = [&](const Input& input, const ReportDigest& report) {
      const InterruptsPass pass(interrupts_);
      return restart_line != nullptr ? TryOne(input, report, restart_line) : AnswerOne(input, report);
    };
    RunHere(source, callbacks);
  } else {
    RunInWorkers(source, std::move(callbacks));
  }
  interrupts_.LetThrough();
  progress_.Wipe();
  if (source.error() != 0) {
    all_answered_ = false;
    Complain(std::string("cannot read standard input: ") + std::strerror(source.error()));
  }
  // A file holds the whole output or nothing of it.
  const bool was_interrupted = interrupts_.happened();
  const bool keeps_output = options_.output.empty() || !was_interrupted;
  if (is_written_ && keeps_output) is_written_ = output_.End();
  // A signal that comes later finds everything done.
  if (was_interrupted) return Interrupted();
  if (!is_written_) {
    ComplainOfOutput(options_.output, output_.error());
    return options_.output.empty() ? kExitFailed : kExitUsage;
  }
  return all_answered_ ? kExitAnswered : kExitFailed;
}

/// Whether a command line asks for one file and nothing that starting over would spoil: an answer that takes long, a
/// key that is no longer to be seen among the arguments, a file for the output or the log. Where the kernel cannot keep
/// this process from changing files, it probes none.
bool StartsHere(const Options& options) {
  if (options.isolation || options.from_standard_input || options.walk || options.inputs.size() != 1) return false;
  if (options.uuid || !options.key.empty() || !options.output.empty() || !options.log_file.empty()) return false;
  return !IsNetworkUrl(options.inputs.front()) && MissingLayers().empty();
}

/// The same command line with workers asked for.
std::vector<char*> RestartLine(char* const* argv) {
  static char worker_isolation[] = "--isolation=worker";
  std::vector<char*> line = {argv[0], worker_isolation};
  for (++argv; *argv != nullptr; ++argv) line.push_back(*argv);
  line.push_back(nullptr);
  return line;
}

/// False when the run must not go on without what this kernel lacks.
bool TellMissingLayers(const Options& options) {
  if (options.isolation == Isolation::kNone) return true;
  const std::string missing = MissingLayers();
  if (missing.empty()) return true;
  if (options.isolation == Isolation::kStrict && !options.allow_unsandboxed) {
    Complain("--isolation strict needs a kernel with " + missing + " (--allow-unsandboxed goes on without)");
    return false;
  }
  Complain("this kernel has no " + missing + ": processes that probe are less confined");
  return true;
}

/// False when a file that is to be written is one of the inputs that are named: that one would be lost.
bool SparesInputs(const Options& options) {
  if (IsOneOf(options.log_file, options.inputs)) {
    Complain("cannot write the log file " + TerminalText(options.log_file) + ": it is one of the inputs");
    return false;
  }
  if (IsOneOf(options.output, options.inputs)) {
    Complain("cannot write " + TerminalText(options.output) + ": it is one of the inputs");
    return false;
  }
  return true;
}

std::unique_ptr<Output> OpenOutput(const Options& options, const RecordFormatter& formatter) {
  if (options.output.empty()) return std::make_unique<Output>(formatter.Frame());
  return Output::ToFile(formatter.Frame(), options.output);
}

}  // namespace

int Show(const std::string& text) {
  Output output({});
  if (output.Add(text)) return kExitAnswered;
  ComplainOfOutput({}, output.error());
  return kExitFailed;
}

int Run(const Options& options, char* const* argv) {
  if (!SparesInputs(options)) return kExitUsage;
  CoreLogSetLevel(options.log_level);
  CoreLogProtect(options.key.c_str());
  if (!CoreLogSetFile(options.log_file.c_str())) {
    Complain("cannot write the log file " + TerminalText(options.log_file) + ": " + CoreErrorText());
    return kExitUsage;
  }
  const Host host(LibraryFolder());
  if (!host.is_loaded()) {
    Complain("cannot load the media information module " + TerminalText(host.module_path()));
    return kExitFailed;
  }
  if (options.listing != Listing::kNone) {
    return Show(options.listing == Listing::kFormats ? FormatList(host) : ServiceList(host));
  }
  const bool starts_here = StartsHere(options);
  if (!starts_here && !TellMissingLayers(options)) return kExitUsage;
  const auto formatter = MakeFormatter(options);
  // Before the output, so that no signal ends the program while an unfinished file is there.
  Interrupts interrupts;
  const auto output = OpenOutput(options, *formatter);
  if (!output && interrupts.happened()) return Interrupted();
  if (!output) {
    ComplainOfOutput(options.output, errno);
    return kExitUsage;
  }
  output->GiveUpAfter(interrupts);
  // That nobody reads the complaints is no reason to leave an unfinished file behind.
  if (output->is_put_in_place()) std::signal(SIGPIPE, SIG_IGN);
  const auto source = MakeSource(options);
  const std::vector<char*> restart_line = starts_here ? RestartLine(argv) : std::vector<char*>();
  return InputRun(options, host, *formatter, interrupts, *output)
      .Run(*source, restart_line.empty() ? nullptr : restart_line.data());
}

}  // namespace mediaprobe
