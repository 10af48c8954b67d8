#include "subject.h"

#include <dlfcn.h>
#include <malloc.h>

#include <array>
#include <exception>
#include <filesystem>
#include <mutex>
#include <thread>

#include "mediainfo/iimage_info.h"
#include "mediainfo/imedia_file_info.h"
#include "mediainfo/isvg_info.h"
#include "mediauuid/imedia_uuid.h"
#include "sample_files.h"
#include "service/iservice_manager.h"

// Of the address and thread sanitizers, whose heap mallinfo2 knows nothing of; the name is theirs.
// NOLINTNEXTLINE(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" __attribute__((weak)) std::size_t __sanitizer_get_current_allocated_bytes();

namespace module_check {
namespace {

using service::IService;
using service::ServiceDescriptor;

constexpr int kThreads = 8;
/// The least that the C library hands out: what is lost in every round is at least that much.
constexpr std::size_t kSmallestBlock = 24;
constexpr int kBatches = 20;

std::string LoaderText() {
  const char* text = dlerror();
  return text == nullptr ? "the loader gives no reason" : text;
}

}  // namespace

LoadedModule::LoadedModule(const std::string& path) : handle_(dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL)) {
  if (handle_ == nullptr) throw Fault{"it cannot be loaded: " + LoaderText()};
  entry_ = reinterpret_cast<service::GetServiceModuleInfoFunction>(dlsym(handle_, service::kGetServiceModuleInfo));
  Demand(entry_ != nullptr, std::string("it exports no ") + service::kGetServiceModuleInfo);
}

std::span<const ServiceDescriptor> LoadedModule::Table() const {
  const ServiceDescriptor* table = nullptr;
  std::uint32_t count = 0;
  entry_(&table, &count);
  Demand(table != nullptr && count > 0, "it tells no table of services");
  return {table, count};
}

void LoadedModule::Unload() const {
  if (dlclose(handle_) != 0) throw Fault{"it cannot be unloaded: " + LoaderText()};
}

OwnedService::OwnedService(const ServiceDescriptor& descriptor)
    : descriptor_(descriptor), service_(descriptor.create == nullptr ? nullptr : descriptor.create()) {
  Demand(service_ != nullptr, "there is no create function, or it gives null");
  Demand(descriptor.release != nullptr, "there is no release function");
}

OwnedSession::OwnedSession(IService& owner) : owner_(owner), session_(owner.CreateSession()) {
  Demand(session_ != nullptr, "CreateSession gives null");
}

LoadedModule Subject::Start() const {
  const LoadedModule module = Load();
  service::Configuration configuration = HostConfiguration(target_);
  const auto table = module.Table();
  for (std::size_t i = 0; i < table.size(); ++i) {
    At("init of " + Describe(table, i));
    if (table[i].init != nullptr) Demand(table[i].init(&configuration), "the init function refuses");
  }
  return module;
}

bool Subject::RegisterCompanions() const {
  for (const std::string& companion : target_.companions) {
    const bool registered = ZORServiceMrgAcqire(0)->LoadModule(companion.c_str(), /*config=*/nullptr);
    Demand(registered, "the module " + companion + " cannot be registered");
  }
  return !target_.companions.empty();
}

service::Configuration HostConfiguration(const Target& target) {
  const std::string folder = std::filesystem::path(target.module).parent_path();
  service::Configuration configuration;
  for (const char* key : {service::config_keys::kMediaInfoPath, service::config_keys::kSetAppPath,
                          service::config_keys::kSetAppResPath}) {
    configuration.Set(key, folder);
  }
  return configuration;
}

std::string Describe(std::span<const ServiceDescriptor> table, std::size_t index) {
  const char* name = table[index].name;
  return "service " + std::to_string(index) + (name == nullptr ? "" : " (" + std::string(name) + ")");
}

void ForEachService(const Subject& subject, const ServiceTask& task) {
  const LoadedModule module = subject.Start();
  const auto table = module.Table();
  for (std::size_t i = 0; i < table.size(); ++i) {
    const std::string name = Describe(table, i);
    subject.At(name);
    try {
      const OwnedService service(table[i]);
      task(table[i], *service);
    } catch (const Fault& fault) {
      throw Fault{name + ": " + fault.text};
    }
  }
}

void WithService(const Subject& subject, std::string_view name, const std::function<void(IService&)>& task) {
  const LoadedModule module = subject.Start();
  for (const ServiceDescriptor& descriptor : module.Table()) {
    if (descriptor.name == nullptr || descriptor.name != name) continue;
    subject.At(name);
    const OwnedService service(descriptor);
    return task(*service);
  }
  throw NotApplicable();
}

std::size_t HeapBytes() {
  if (__sanitizer_get_current_allocated_bytes != nullptr) return __sanitizer_get_current_allocated_bytes();
  const struct mallinfo2 heap = mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

void DemandSteadyMemory(int cycles, const std::function<void()>& task) {
  // Caches, the C library's of freed blocks among them, fill and then stay; what is lost is lost in every batch.
  std::size_t growth = 0;
  for (int batch = 0; batch < kBatches; ++batch) {
    const std::size_t before = HeapBytes();
    for (int i = 0; i < cycles; ++i) task();
    const std::size_t after = HeapBytes();
    if (after < before + static_cast<std::size_t>(cycles) * kSmallestBlock) return;
    growth = after - before;
  }
  throw Fault{std::to_string(cycles) + " rounds leave " + std::to_string(growth) + " bytes behind"};
}

void InThreads(const std::function<void()>& task) {
  std::mutex mutex;
  std::exception_ptr first;
  const auto guarded = [&] {
    try {
      task();
    } catch (...) {
      const std::lock_guard lock(mutex);
      if (first == nullptr) first = std::current_exception();
    }
  };
  std::array<std::thread, kThreads> threads;
  for (std::thread& thread : threads) thread = std::thread(guarded);
  for (std::thread& thread : threads) thread.join();
  if (first != nullptr) std::rethrow_exception(first);
}

void UseSession(const Subject& subject, service::ISession* session) {
  if (auto* media = dynamic_cast<service::mediainfo::IMediaFileInfo*>(session)) {
    std::string url = subject.target().media_file;
    media->SetURL(url.data());
    media->GetMetadata();
  } else if (auto* image = dynamic_cast<service::mediainfo::IImageInfo*>(session)) {
    image->SetPath(("file://" + subject.Sample(sample_names::kPicture)).c_str());
  } else if (auto* svg = dynamic_cast<service::mediainfo::ISvgInfo*>(session)) {
    std::string url = subject.Sample(sample_names::kDrawing);
    svg->SetPath(url.data());
  } else if (auto* uuid = dynamic_cast<service::mediauuid::IMediaUuid*>(session)) {
    uuid->GetUuidText(subject.Sample(sample_names::kText).c_str());
  }
}

}  // namespace module_check
