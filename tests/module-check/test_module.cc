// A module that keeps the contract, with a fault planted where the environment variable MODULE_FAULT names one.

#include <fcntl.h>
#include <openssl/evp.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "mediainfo/service_ids.h"
#include "mediauuid/imedia_uuid.h"
#include "planted_fault.h"
#include "platform/export.h"
#include "service/module_descriptor.h"

#if defined(FAULT_TWO_EXPORTS)
extern "C" PLATFORM_EXPORT int AnotherFunction() { return 1; }
#endif

#if defined(FAULT_UNRESOLVED_SYMBOL)
extern "C" int FunctionOfNoLibrary();
extern "C" __attribute__((used)) int CallNobody() { return FunctionOfNoLibrary(); }
#endif

namespace {

using service::IConfig;
using service::IService;
using service::ISession;
using service::ServiceDescriptor;
using service::mediauuid::IMediaUuid;

/// Memory that is lost when the module is unloaded.
void* volatile lost = Has("load-leak") ? std::malloc(4096) : nullptr;

constexpr std::uint32_t kDestroyed = 0;
constexpr std::uint32_t kRefused = 1;

// ---- what is done to the process while a service is created

void* Wait(void* /*unused*/) {
  for (;;) pause();
}

std::atomic<pid_t> thread_id;

void* WaitInThread(void* /*unused*/) {
  thread_id = gettid();
  return Wait(nullptr);
}

/// Comes back when the thread has gone to sleep, outside of this module's code: it stays there when the module goes.
void LeaveThread() {
  thread_id = 0;
  pthread_t thread;
  pthread_create(&thread, nullptr, WaitInThread, nullptr);
  for (std::string state; state != "S";) {
    usleep(1000);
    std::ifstream file("/proc/self/task/" + std::to_string(thread_id) + "/stat");
    std::string word;
    file >> word >> word >> state;
  }
}

struct Deed {
  const char* fault;
  void (*run)();
};

const std::array<Deed, 14> kDeeds{{
    {"thread", LeaveThread},
    {"descriptor", [] { [[maybe_unused]] const int left = open("/dev/null", O_RDONLY); }},
    {"print", [] { std::puts("a service is created"); }},
    {"hang", [] { Wait(nullptr); }},
    {"abort", [] { std::abort(); }},
    {"exit", [] { _exit(3); }},
    {"locale", [] { std::setlocale(LC_ALL, "C.UTF-8"); }},
    {"signal-handler", [] { std::signal(SIGUSR1, SIG_IGN); }},
    {"signal-mask",
     [] {
       sigset_t signals;
       sigemptyset(&signals);
       sigaddset(&signals, SIGUSR2);
       pthread_sigmask(SIG_BLOCK, &signals, nullptr);
     }},
    {"umask", [] { umask(0177); }},
    {"folder", [] { [[maybe_unused]] const int result = chdir("/"); }},
    {"environment", [] { setenv("MODULE_WAS_HERE", "1", 1); }},
    {"close-output", [] { close(STDOUT_FILENO); }},
    {"child",
     [] {
       if (fork() == 0) Wait(nullptr);
     }},
}};

void DoDeed() {
  for (const Deed& deed : kDeeds) {
    if (Has(deed.fault)) deed.run();
  }
}

// ---- services

class PlainSession : public ISession {
 public:
  explicit PlainSession(const IService& owner) : owner_(owner) {}
  ~PlainSession() override { std::free(memory_); }
  PlainSession(const PlainSession&) = delete;
  PlainSession& operator=(const PlainSession&) = delete;

  const IService& owner() const { return owner_; }

 private:
  const IService& owner_;
  void* memory_ = std::calloc(64, 1);
};

int services = 0;
std::mutex services_mutex;
char description[] = "a service without a query interface";

class PlainService : public IService {
 public:
  PlainService() {
    const std::lock_guard lock(services_mutex);
    ++services;
  }
  ~PlainService() override {
    const std::lock_guard lock(services_mutex);
    --services;
    if (Has("changing-text")) description[0] = 'A';
  }

  std::uint32_t FirstStateQuery() override { return Has("first-state") ? 1 : 0; }
  bool SecondStateQuery() override { return !Has("second-state"); }
  bool FinalQuery() override { return Has("final-query"); }

  ISession* CreateSession() override {
    if (Has("one-session") && sessions_ > 0) return nullptr;
    ++sessions_;
    return new PlainSession(*this);
  }

  std::uint32_t DestroySession(ISession* session) override {
    if (Has("null-session")) [[maybe_unused]]
      volatile auto first_word = *reinterpret_cast<std::uintptr_t*>(session);
    if (Has("foreign-session") && session != nullptr) return kDestroyed;
    auto* own = dynamic_cast<PlainSession*>(session);
    if (own == nullptr || &own->owner() != this) return Has("same-answer") ? kDestroyed : kRefused;
    --sessions_;
    if (Has("session-leak")) return kDestroyed;
    if (Has("double-free")) ::operator delete(own);
    delete own;
    return kDestroyed;
  }

  std::shared_ptr<ISession> CreateSharedSession(std::uintptr_t /*reserved*/) override {
    std::shared_ptr<ISession> session(CreateSession(), [this](ISession* last) { DestroySession(last); });
    if (Has("shared-owner")) kept_.push_back(session);
    return session;
  }

  std::uint32_t KeyedQuery(std::uintptr_t, std::uintptr_t, std::uint32_t* result) override {
    if (result == nullptr && !Has("null-result")) return 0;
    if (!Has("result-left")) *result = 0;
    return 0;
  }
  std::uint32_t KeyedRequest(std::uintptr_t, std::uintptr_t, std::uintptr_t, std::uint32_t* result) override {
    if (Has("exception")) throw std::runtime_error("no such request");
    if (result != nullptr) *result = 0;
    return 1;
  }
  std::uint32_t ReleaseSharedSession(std::shared_ptr<ISession> session) override {
    if (Has("release-kept")) kept_.push_back(session);
    return 0;
  }

 protected:
  std::atomic<int> sessions_ = 0;
  std::vector<std::shared_ptr<ISession>> kept_;
};

std::optional<std::string> ReadFile(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return std::nullopt;
  std::ifstream file(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

/// What a URL names: a file, or a sequence like "files:///folder/name_[1-2].txt".
std::optional<std::string> ReadContent(const std::string& url) {
  if (url.find("files://") == 0) {
    const std::string pattern = url.substr(8);
    const std::size_t open = pattern.rfind('[');
    const std::size_t close = pattern.rfind(']');
    if (open == std::string::npos || close == std::string::npos) return std::nullopt;
    std::string content;
    for (int number = std::atoi(pattern.c_str() + open + 1), last = std::atoi(pattern.c_str() + open + 3);
         number <= last; ++number) {
      const auto frame = ReadFile(pattern.substr(0, open) + std::to_string(number) + pattern.substr(close + 1));
      if (!frame) return std::nullopt;
      content += *frame;
    }
    return content;
  }
  if (url.find(":/") == std::string::npos) return ReadFile(url);
  return url.find("file:/") == std::string::npos ? std::nullopt : ReadFile(url.substr(6));
}

std::string Md5(const std::string& content) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
  unsigned length = 0;
  EVP_Digest(content.data(), content.size(), digest.data(), &length, EVP_md5(), nullptr);
  std::string digits;
  for (unsigned i = 0; i < length; ++i) {
    std::array<char, 3> pair{};
    std::snprintf(pair.data(), pair.size(), "%02x", digest[i]);
    digits += pair.data();
  }
  return Has("wrong-digest") ? digits.substr(1) + "0" : digits;
}

class UuidService;

class UuidSession final : public PlainSession, public IMediaUuid {
 public:
  explicit UuidSession(UuidService& service);

  bool GetUuid(const char* url, core::Uuid* out) override {
    if (Has("out-written") && out != nullptr) *out = core::Uuid();
    if (Has("null-url")) [[maybe_unused]]
      const char first = *const_cast<const volatile char*>(url);
    if (url == nullptr || out == nullptr) return false;
    const auto content = ReadContent(url);
    if (!content) return false;
    std::string digits = Md5(*content);
    for (const std::size_t place : {8U, 13U, 18U, 23U}) digits.insert(place, 1, '-');
    return out->FromString(digits.c_str());
  }
  const char* GetUuidText(const char* url) override;

 private:
  UuidService& service_;
  std::array<char, 64> text_{};
};

class UuidService final : public PlainService {
 public:
  ISession* CreateSession() override {
    ++sessions_;
    return new UuidSession(*this);
  }
  std::shared_ptr<ISession> CreateSharedSession(std::uintptr_t /*reserved*/) override { return {}; }

  const char* Text(const std::string& url) {
    const std::lock_guard lock(mutex_);
    const auto known = texts_.find(url);
    if (known != texts_.end() && !Has("no-cache")) return known->second.c_str();
    const auto content = ReadContent(url);
    return content ? (texts_[url] = Md5(*content)).c_str() : nullptr;
  }

 private:
  std::mutex mutex_;
  std::map<std::string, std::string> texts_;
};

UuidSession::UuidSession(UuidService& service) : PlainSession(service), service_(service) {}

const char* UuidSession::GetUuidText(const char* url) {
  if (url == nullptr) return nullptr;
  const bool is_sequence = std::strncmp(url, "files://", 8) == 0;
  if (!is_sequence && !Has("text-of-session")) return service_.Text(url);
  const auto content = ReadContent(url);
  if (!content) return is_sequence ? "" : nullptr;
  std::snprintf(text_.data(), text_.size(), "%s", Md5(*content).c_str());
  return text_.data();
}

// ---- the table

template <typename Service>
IService* Create() {
  DoDeed();
  static bool was_created = false;
  if (Has("create-once") && std::exchange(was_created, true)) return nullptr;
  if (Has("one-service") && services > 0) return nullptr;
  return new Service;
}

void Release(IService* service) {
  if (service == nullptr && Has("release-null")) std::abort();
  if (!Has("service-leak")) delete service;
}

bool Init(IConfig* config) {
  if (config == nullptr) return !Has("null-configuration");
  if (Has("reserved-call")) config->Reserved2();
  config->GetString("SetAppPath", Has("reserved-argument") ? 1 : 0);
  return !Has("refusing-init");
}

std::vector<ServiceDescriptor> MakeTable() {
  std::vector<ServiceDescriptor> table{
      {"test/plain", description, "9B7D1C3E-52A4-4F60-8E11-70C2D6A3B5F8", 0, Init, Create<PlainService>, Release, 0, 0},
      {"test/other", "another one", "0D4E6F82-93B5-4A17-B6C8-D9EA1F203142", 0, nullptr, Create<PlainService>, Release,
       0, 0},
      {service::mediainfo::kMediaUuidServiceName, "digests", service::mediainfo::kMediaUuidServiceUuid, 0, nullptr,
       Create<UuidService>, Release, 0, 0},
  };
  if (Has("null-name")) table[0].name = nullptr;
  if (Has("line-in-name")) table[0].name = "test\nplain";
  if (Has("empty-description")) table[0].description = "";
  if (Has("lower-case-uuid")) table[0].uuid = "9b7d1c3e-52a4-4f60-8e11-70c2d6a3b5f8";
  if (Has("no-uuid")) table[0].uuid = "plain";
  if (Has("same-uuid")) table[1].uuid = table[0].uuid;
  if (Has("wrong-uuid")) table[2].uuid = "11111111-2222-3333-4444-555555555555";
  if (Has("reserved-word")) table[1].reserved7 = 1;
  if (Has("null-create")) table[1].create = nullptr;
  if (Has("null-release")) table[1].release = nullptr;
  return table;
}

}  // namespace

extern "C" PLATFORM_EXPORT bool GetServiceModuleInfo(const ServiceDescriptor** table_out, std::uint32_t* count_out) {
  static std::vector<ServiceDescriptor> table = MakeTable();
  if (Has("null-argument")) *const_cast<const ServiceDescriptor* volatile*>(table_out) = nullptr;
  if (Has("half-written") && count_out != nullptr) *count_out = 1;
  if (table_out == nullptr || count_out == nullptr) return !Has("null-argument-answer");
  if (Has("null-table")) return true;
  *table_out = table.data();
  *count_out = static_cast<std::uint32_t>(table.size());
  if (Has("new-table")) {
    auto* copy = new std::vector(table);
    *table_out = copy->data();
  }
  return !Has("false-answer");
}
