#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fault.h"
#include "service/configuration.h"
#include "service/module_descriptor.h"
#include "shared_note.h"

namespace module_check {

/// What is checked, and with what.
struct Target {
  std::string module;                   ///< absolute path
  std::vector<std::string> companions;  ///< modules whose services the module asks for
  std::string media_file;
  bool media_file_is_ours = true;  ///< so that its facts are known
  std::string sample_folder;
};

/// The module in this process. Going out of scope leaves it loaded: most checks end with their process.
class LoadedModule {
 public:
  /// Loads `path` with all its symbols; a Fault when that fails or the entry point is missing.
  explicit LoadedModule(const std::string& path);

  bool TellTable(const service::ServiceDescriptor** table, std::uint32_t* count) const { return entry_(table, count); }
  std::span<const service::ServiceDescriptor> Table() const;
  /// A Fault when the loader refuses.
  void Unload() const;
  void* handle() const { return handle_; }

 private:
  void* handle_;
  service::GetServiceModuleInfoFunction entry_;
};

/// A service that goes back to its descriptor's release function.
class OwnedService {
 public:
  /// A Fault when the create function gives none.
  explicit OwnedService(const service::ServiceDescriptor& descriptor);
  ~OwnedService() { descriptor_.release(service_); }
  OwnedService(const OwnedService&) = delete;
  OwnedService& operator=(const OwnedService&) = delete;

  service::IService& operator*() const { return *service_; }
  service::IService* operator->() const { return service_; }

 private:
  const service::ServiceDescriptor& descriptor_;
  service::IService* service_;
};

/// A session that goes back to its service.
class OwnedSession {
 public:
  /// A Fault when the service gives none.
  explicit OwnedSession(service::IService& owner);
  ~OwnedSession() { owner_.DestroySession(session_); }
  OwnedSession(const OwnedSession&) = delete;
  OwnedSession& operator=(const OwnedSession&) = delete;

  service::ISession* get() const { return session_; }
  /// A Fault when the session has no such interface.
  template <typename Interface>
  Interface& As() const {
    auto* found = dynamic_cast<Interface*>(session_);
    Demand(found != nullptr, "a session does not have the service's query interface");
    return *found;
  }

 private:
  service::IService& owner_;
  service::ISession* session_;
};

/// What a check works with, in its own process.
class Subject {
 public:
  Subject(const Target& target, SharedNote& note) : target_(target), note_(note) {}

  const Target& target() const { return target_; }
  std::string Sample(const char* name) const { return target_.sample_folder + "/" + name; }
  /// What is done next: told when the process ends or hangs.
  void At(std::string_view what) const { Note(what, note_.at); }

  LoadedModule Load() const { return LoadedModule(target_.module); }
  /// Loaded, and its services initialised with a host's usual configuration.
  LoadedModule Start() const;
  /// Makes the services of the companions known to the process's service manager. False when there are none.
  bool RegisterCompanions() const;

 private:
  const Target& target_;
  SharedNote& note_;
};

/// What a host in the module's folder sets.
service::Configuration HostConfiguration(const Target& target);

/// A descriptor in words: its place and its name.
std::string Describe(std::span<const service::ServiceDescriptor> table, std::size_t index);

using ServiceTask = std::function<void(const service::ServiceDescriptor& descriptor, service::IService& service)>;
/// Starts the module and runs `task` for each of its services, one at a time.
void ForEachService(const Subject& subject, const ServiceTask& task);

/// Starts the module and runs `task` with its service of that name. NotApplicable when it has none.
void WithService(const Subject& subject, std::string_view name, const std::function<void(service::IService&)>& task);

/// Bytes of the heap that are in use.
std::size_t HeapBytes();
/// A Fault when `task`, run over and over, takes memory each time.
void DemandSteadyMemory(int cycles, const std::function<void()>& task);

/// Runs `task` in several threads at once; the first Fault or exception of one is thrown here.
void InThreads(const std::function<void()>& task);

/// Uses a session of a known service for what it is there for; nothing with others.
void UseSession(const Subject& subject, service::ISession* session);

}  // namespace module_check
