// The init functions and what they do with a host's configuration.

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

#include "checks/areas.h"
#include "subject.h"

namespace module_check {
namespace {

using service::ServiceDescriptor;

constexpr std::size_t kLongText = 1 << 20;
/// Where nothing can be made: some of the texts name folders that are made when they are missing.
constexpr char kNoFolder[] = "/dev/null/";

/// Runs `task` for every descriptor that has an init function.
template <typename Task>
void ForEachInit(const Subject& subject, Task task) {
  const LoadedModule module = subject.Load();
  const auto table = module.Table();
  bool has_any = false;
  for (std::size_t i = 0; i < table.size(); ++i) {
    if (table[i].init == nullptr) continue;
    has_any = true;
    subject.At("init of " + Describe(table, i));
    task(table[i]);
  }
  if (!has_any) throw NotApplicable();
}

void DemandServices(const Subject& subject, const LoadedModule& module) {
  const auto table = module.Table();
  for (std::size_t i = 0; i < table.size(); ++i) {
    subject.At(Describe(table, i));
    const OwnedService service(table[i]);
    const OwnedSession session(*service);
  }
}

void TakesAConfiguration(Subject& subject) {
  service::Configuration configuration = HostConfiguration(subject.target());
  ForEachInit(subject, [&](const ServiceDescriptor& row) {
    Demand(row.init(&configuration), "it refuses a usual configuration");
  });
}

void TakesNull(Subject& subject) {
  ForEachInit(subject, [](const ServiceDescriptor& row) { Demand(row.init(nullptr), "it refuses null"); });
}

void TakesNoKeys(Subject& subject) {
  service::Configuration configuration;
  ForEachInit(subject, [&](const ServiceDescriptor& row) {
    Demand(row.init(&configuration), "it refuses a configuration without keys");
  });
  DemandServices(subject, subject.Load());
}

void RunsAgain(Subject& subject) {
  service::Configuration configuration = HostConfiguration(subject.target());
  ForEachInit(subject, [&](const ServiceDescriptor& row) {
    for (int i = 0; i < 3; ++i) Demand(row.init(&configuration), "it refuses another call");
  });
  DemandServices(subject, subject.Load());
}

/// A host's configuration whose every text is the same.
class OneText final : public service::IConfig {
 public:
  explicit OneText(std::string text) : text_(std::move(text)) {}

  void Reserved1() override { ++reserved_calls_; }
  void Reserved2() override { ++reserved_calls_; }
  void Reserved3() override { ++reserved_calls_; }
  const char* GetString(const char* key, std::uintptr_t reserved) override {
    if (key == nullptr || *key == '\0') ++nameless_calls_;
    if (reserved != 0) ++reserved_words_;
    return text_.c_str();
  }

  int reserved_calls() const { return reserved_calls_; }
  int nameless_calls() const { return nameless_calls_; }
  int reserved_words() const { return reserved_words_; }

 private:
  std::string text_;
  int reserved_calls_ = 0;
  int nameless_calls_ = 0;
  int reserved_words_ = 0;
};

void AsksProperly(Subject& subject) {
  OneText configuration("");
  ForEachInit(subject, [&](const ServiceDescriptor& row) { row.init(&configuration); });
  DemandEqual(configuration.reserved_calls(), 0, "the number of calls of reserved operations");
  DemandEqual(configuration.nameless_calls(), 0, "the number of calls without a key");
  DemandEqual(configuration.reserved_words(), 0, "the number of calls with a reserved word that is not 0");
}

/// Neither answer is wrong; a crash or an exception is.
void TakesEveryText(const Subject& subject, const std::string& text) {
  OneText configuration(text);
  ForEachInit(subject, [&](const ServiceDescriptor& row) { row.init(&configuration); });
  const LoadedModule module = subject.Load();
  for (const ServiceDescriptor& row : module.Table()) row.release(row.create());
}

void TakesEmptyTexts(Subject& subject) { TakesEveryText(subject, ""); }
void TakesLongTexts(Subject& subject) { TakesEveryText(subject, kNoFolder + std::string(kLongText, 'x')); }
void TakesInvalidTexts(Subject& subject) { TakesEveryText(subject, kNoFolder + std::string("\xff\xc3(\xed\x01%s%n")); }

/// Its texts are overwritten when it goes.
class PassingConfiguration final : public service::IConfig {
 public:
  explicit PassingConfiguration(std::string folder) : folder_(std::move(folder)) {}
  ~PassingConfiguration() override {
    for (const auto& text : texts_) std::memset(text.get(), '#', folder_.size());
  }
  PassingConfiguration(const PassingConfiguration&) = delete;
  PassingConfiguration& operator=(const PassingConfiguration&) = delete;

  void Reserved1() override {}
  void Reserved2() override {}
  void Reserved3() override {}
  const char* GetString(const char* key, std::uintptr_t /*reserved*/) override {
    if (std::string_view(key) == service::config_keys::kMediaProxyPath) return nullptr;
    if (std::string_view(key) == service::config_keys::kSetLogPath) return nullptr;
    texts_.emplace_back(strdup(folder_.c_str()), std::free);
    return texts_.back().get();
  }

 private:
  std::string folder_;
  std::vector<std::unique_ptr<char, void (*)(void*)>> texts_;
};

void KeepsNothingOfIt(Subject& subject) {
  {
    const auto folder = subject.target().module.substr(0, subject.target().module.rfind('/'));
    PassingConfiguration configuration(folder);
    ForEachInit(subject, [&](const ServiceDescriptor& row) { row.init(&configuration); });
  }
  DemandServices(subject, subject.Load());
}

constexpr std::array kChecks{
    Check{"init.configuration", "init functions take a usual configuration", TakesAConfiguration},
    Check{"init.null", "and none at all", TakesNull},
    Check{"init.no-keys", "and one without keys; services are created all the same", TakesNoKeys},
    Check{"init.again", "a second call changes nothing for services", RunsAgain},
    Check{"init.asks", "they ask by key, with zeroes for reserved words, and call no reserved operation", AsksProperly},
    Check{"init.empty-texts", "empty texts do no harm", TakesEmptyTexts},
    Check{"init.long-texts", "texts of a megabyte do no harm", TakesLongTexts},
    Check{"init.invalid-texts", "texts that are not UTF-8 do no harm", TakesInvalidTexts},
    Check{"init.copies", "the configuration and its texts may go after the call", KeepsNothingOfIt},
};

}  // namespace

std::span<const Check> InitChecks() { return kChecks; }

}  // namespace module_check
