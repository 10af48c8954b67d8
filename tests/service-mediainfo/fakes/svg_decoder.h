#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "service/iservice_manager.h"
#include "service/isvg_decode_sink.h"

namespace fakes {

/// What the decoder answers and what it was asked, in one place for its sessions.
struct DecoderScript {
  std::uint32_t load_result = 1;
  std::uint32_t size_result = 0;
  std::uint32_t view_size_result = 0;
  /// Sizes are written although the result says that there are none.
  bool writes_sizes_in_vain = false;
  std::pair<std::uint32_t, std::uint32_t> size{640, 480};
  std::pair<std::uint32_t, std::uint32_t> view_size{64, 48};
  std::uint32_t render_result = 5;

  std::vector<std::string> calls;
  int live_sessions = 0;
};

/// A session of the SVG decoder.
class DecoderSession : public service::ISession, public service::ISVGDecodeSink {
 public:
  explicit DecoderSession(DecoderScript& script) : script_(script) { ++script_.live_sessions; }
  DecoderSession(const DecoderSession&) = delete;
  DecoderSession& operator=(const DecoderSession&) = delete;
  ~DecoderSession() override { --script_.live_sessions; }

  void Reserved1() override { Note("reserved 1"); }
  void Reset() override { Note("reset"); }
  void Reserved3() override { Note("reserved 3"); }
  void Reserved4() override { Note("reserved 4"); }
  void Reserved5() override { Note("reserved 5"); }
  std::uint32_t Load(std::uintptr_t first, std::uintptr_t second) override {
    Note("load " + std::to_string(first) + " " + std::to_string(second));
    return script_.load_result;
  }
  void Reserved7() override { Note("reserved 7"); }
  void SetSource(const char* url) override { Note(std::string("source ") + url); }
  void Reserved9() override { Note("reserved 9"); }
  std::uint32_t GetSize(std::uint32_t* width_out, std::uint32_t* height_out) override {
    Note("size");
    if (script_.size_result == 0 || script_.writes_sizes_in_vain) std::tie(*width_out, *height_out) = script_.size;
    return script_.size_result;
  }
  void Reserved11() override { Note("reserved 11"); }
  std::uint32_t GetViewSize(std::uint32_t* width_out, std::uint32_t* height_out) override {
    Note("view size");
    if (script_.view_size_result == 0 || script_.writes_sizes_in_vain) {
      std::tie(*width_out, *height_out) = script_.view_size;
    }
    return script_.view_size_result;
  }
  void Reserved13() override { Note("reserved 13"); }
  void Reserved14() override { Note("reserved 14"); }
  std::uint32_t Render(std::uintptr_t path, std::uintptr_t width, std::uintptr_t height) override {
    Note("render " + std::to_string(path) + " " + std::to_string(width) + " " + std::to_string(height));
    return script_.render_result;
  }

 private:
  void Note(std::string call) { script_.calls.push_back(std::move(call)); }

  DecoderScript& script_;
};

/// A session that decodes nothing.
class OtherSession : public service::ISession {
 public:
  explicit OtherSession(DecoderScript& script) : script_(script) { ++script_.live_sessions; }
  OtherSession(const OtherSession&) = delete;
  OtherSession& operator=(const OtherSession&) = delete;
  ~OtherSession() override { --script_.live_sessions; }

 private:
  DecoderScript& script_;
};

/// A service whose shared sessions are made by the test.
class DecoderService : public service::IService {
 public:
  std::uint32_t FirstStateQuery() override { return 0; }
  bool SecondStateQuery() override { return true; }
  service::ISession* CreateSession() override { return nullptr; }
  std::uint32_t DestroySession(service::ISession* /*session*/) override { return 1; }
  std::shared_ptr<service::ISession> CreateSharedSession(std::uintptr_t reserved) override {
    reserved_words.push_back(reserved);
    return make_session ? make_session() : nullptr;
  }
  std::uint32_t KeyedQuery(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uint32_t* /*result*/) override {
    return 0;
  }
  std::uint32_t KeyedRequest(std::uintptr_t /*first*/, std::uintptr_t /*second*/, std::uintptr_t /*third*/,
                             std::uint32_t* /*result*/) override {
    return 1;
  }
  std::uint32_t ReleaseSharedSession(std::shared_ptr<service::ISession> /*session*/) override { return 0; }
  bool FinalQuery() override { return false; }

  std::function<std::shared_ptr<service::ISession>()> make_session;
  std::vector<std::uintptr_t> reserved_words;
};

/// A manager that knows one service, or none.
class ServiceManager : public service::IServiceManager {
 public:
  struct Request {
    std::string id;
    bool create;
    std::uintptr_t reserved;
    friend bool operator==(const Request&, const Request&) = default;
  };

  bool LoadModule(const char* /*path*/, service::IConfig* /*config*/) override { return false; }
  bool RegisterServices(const service::ServiceDescriptor* /*table*/, std::uint32_t /*count*/,
                        service::IConfig* /*config*/) override {
    return false;
  }
  std::uint32_t GetServiceCount() override { return 0; }
  const service::ServiceDescriptor* GetService(std::uint32_t /*index*/) override { return nullptr; }
  void ReleaseServices() override {}
  void Reserved6() override {}
  void Reserved7() override {}
  std::shared_ptr<service::IService> AcquireService(const char* id, bool create, std::uintptr_t reserved) override {
    requests.push_back({id, create, reserved});
    return known;
  }

  std::shared_ptr<service::IService> known;
  std::vector<Request> requests;
};

/// What ZORServiceMrgAcqire gives, and the words that it was asked with.
struct ManagerEntry {
  service::IServiceManager* manager = nullptr;
  std::vector<std::uintptr_t> reserved_words;
};
ManagerEntry& manager_entry();

}  // namespace fakes
