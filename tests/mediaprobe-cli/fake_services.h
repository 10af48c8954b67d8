#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "fake_media.h"
#include "service/iservice.h"

/// Image, SVG and media UUID services whose files are made up by the test.
namespace mediaprobe::testing {

/// A service that counts its sessions; what they are is the derived class's.
class FakeService : public service::IService {
 public:
  std::uint32_t FirstStateQuery() override { return 0; }
  bool SecondStateQuery() override { return true; }
  service::ISession* CreateSession() override;
  std::uint32_t DestroySession(service::ISession* session) override;
  std::shared_ptr<service::ISession> CreateSharedSession(std::uintptr_t) override { return nullptr; }
  std::uint32_t KeyedQuery(std::uintptr_t, std::uintptr_t, std::uint32_t*) override { return 0; }
  std::uint32_t KeyedRequest(std::uintptr_t, std::uintptr_t, std::uintptr_t, std::uint32_t*) override { return 1; }
  std::uint32_t ReleaseSharedSession(std::shared_ptr<service::ISession>) override { return 0; }
  bool FinalQuery() override { return false; }

  int open_sessions = 0;
  bool gives_sessions = true;

 protected:
  virtual service::ISession* MakeSession() = 0;
};

struct FakeImage {
  bool is_read = true;
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::uint64_t duration_100ns = 0;  ///< 0 leaves the session's as it was
  std::shared_ptr<FakeStore> store = std::make_shared<FakeStore>();
};

class FakeImageService final : public FakeService {
 public:
  /// Gives what there is at a URL. An image without a store makes SetPath throw core::AnyBadAccess.
  using Opener = std::function<FakeImage(const std::string& url)>;
  explicit FakeImageService(Opener opener) : opener_(std::move(opener)) {}

  FakeImage Open(const std::string& url);

  std::vector<std::string> urls;  ///< that were opened

 private:
  service::ISession* MakeSession() override;
  Opener opener_;
};

struct FakeSvg {
  std::uint32_t width = 0;  ///< 0: no size is told; likewise below
  std::uint32_t height = 0;
  std::uint32_t view_width = 0;
  std::uint32_t view_height = 0;
};

class FakeSvgService final : public FakeService {
 public:
  using Opener = std::function<std::optional<FakeSvg>(char* url)>;
  explicit FakeSvgService(Opener opener) : opener_(std::move(opener)) {}

  std::optional<FakeSvg> Open(char* url) const { return opener_(url); }

 private:
  service::ISession* MakeSession() override;
  Opener opener_;
};

class FakeUuidService final : public FakeService {
 public:
  /// Gives the text for a URL; null when there is none.
  using Digester = std::function<const char*(const std::string& url)>;
  explicit FakeUuidService(Digester digester) : digester_(std::move(digester)) {}

  const char* Digest(const std::string& url) const { return digester_(url); }

 private:
  service::ISession* MakeSession() override;
  Digester digester_;
};

/// An image that tells everything there is to tell.
FakeImage MakeFullImage();

}  // namespace mediaprobe::testing
