#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "media_server/imedia_server.h"
#include "platform/com_ptr.h"
#include "platform/library.h"

namespace {

using media_server::ICodecComponent;
using media_server::IMediaInfo;
using media_server::IMediaServer;
using media_server::IProgramCollection;
using platform::ComPtr;
using platform::ComStatus;
using platform::Guid;
using platform::IComObject;
using testing::ElementsAre;

/// Counts references and dies with none, so that a leak or a release too many fails the test.
template <typename Interface>
class CountedObject : public Interface {
 public:
  ComStatus QueryInterface(const Guid& /*id*/, void** out) override {
    *out = nullptr;
    return platform::kNoInterface;
  }
  std::uint32_t AddRef() override { return ++references; }
  std::uint32_t Release() override { return --references; }

  std::atomic<std::uint32_t> references{0};

 protected:
  ~CountedObject() = default;
};

class FakeMediaInfo final : public CountedObject<IMediaInfo> {
 public:
  std::uint32_t GetFormatFourCC() override { return 0; }
  std::int32_t GetFormatName(BSTR* /*out*/) override { return platform::kFail; }
  std::int32_t GetFormatLongName(BSTR* /*out*/) override { return platform::kFail; }
  double GetDuration() override { return 0; }
  std::uint64_t GetBitRate() override { return 0; }
  std::int32_t GetPrograms(IProgramCollection** /*out*/) override { return platform::kFail; }
  std::uint64_t GetFileSize() override { return 0; }
  std::int32_t GetDateText(BSTR* /*out*/) override { return platform::kFail; }
};

class FakeMediaServer final : public CountedObject<IMediaServer> {
 public:
  std::int32_t SetOption(const char* /*name*/, const core::ValAny* /*value*/) override { return platform::kOk; }
  void Reserved4() override {}
  std::int32_t GetMediaInfo(const char16_t* path, IMediaInfo** out) override {
    opened_path = path;
    *out = media_info;
    if (media_info) media_info->AddRef();
    return answer;
  }
  std::int64_t QueryImage(const char16_t* /*path*/, imagecore::QkImageInfo* /*info*/) override { return 0; }

  std::u16string opened_path;
  FakeMediaInfo* media_info = nullptr;
  std::int32_t answer = 0;
};

/// What CreateMediaServer answers and was called with.
FakeMediaServer* created_server = nullptr;
ComStatus creation_status = platform::kOk;
std::vector<std::string> creation_texts;

class ComSupportTest : public testing::Test {
 protected:
  void SetUp() override {
    HMODULE library = LoadLibraryA(COM_SUPPORT_PATH);
    ASSERT_NE(library, nullptr) << platform::LibraryErrorText();
    create_instance_ =
        reinterpret_cast<media_server::QkCreateInstanceFunction>(GetProcAddress(library, "QKCreateInstance"));
    ASSERT_NE(create_instance_, nullptr);
    created_server = &server_;
    creation_status = platform::kOk;
    creation_texts.clear();
  }
  void TearDown() override {
    EXPECT_EQ(server_.references, 0U);
    EXPECT_EQ(media_info_.references, 0U);
  }

  /// As the module calls it.
  ComPtr<ICodecComponent> CreateComponent() {
    void* component = nullptr;
    EXPECT_EQ(create_instance_(media_server::kCodecComponentClassId, /*outer=*/nullptr, /*context=*/0,
                               ICodecComponent::kInterfaceId, &component),
              platform::kOk);
    return ComPtr<ICodecComponent>::Attach(static_cast<ICodecComponent*>(component));
  }

  media_server::QkCreateInstanceFunction create_instance_ = nullptr;
  FakeMediaServer server_;
  FakeMediaInfo media_info_;
};

constexpr Guid kUnknownId{0x01020304, 0x0506, 0x0708, {9, 10, 11, 12, 13, 14, 15, 16}};
/// Anything but null, to see that failures overwrite it.
void* const kUntouched = &created_server;

TEST_F(ComSupportTest, ComponentStartsWithOneReference) {
  ICodecComponent* component = CreateComponent().Detach();
  ASSERT_NE(component, nullptr);
  EXPECT_EQ(component->AddRef(), 2U);
  EXPECT_EQ(component->Release(), 1U);
  EXPECT_EQ(server_.references, 1U);
  EXPECT_EQ(component->Release(), 0U);
}

TEST_F(ComSupportTest, MediaServerIsMadeWithFiveEmptyTexts) {
  CreateComponent();
  EXPECT_THAT(creation_texts, ElementsAre("", "", "", "", ""));
}

TEST_F(ComSupportTest, UnknownClassIsNotRegistered) {
  void* out = kUntouched;
  EXPECT_EQ(create_instance_(kUnknownId, nullptr, 0, ICodecComponent::kInterfaceId, &out),
            static_cast<ComStatus>(0x80040154));
  EXPECT_EQ(out, nullptr);
  EXPECT_TRUE(creation_texts.empty());
}

TEST_F(ComSupportTest, UnknownInterfaceIsRefused) {
  void* out = kUntouched;
  EXPECT_EQ(create_instance_(media_server::kCodecComponentClassId, nullptr, 0, kUnknownId, &out),
            static_cast<ComStatus>(0x80004002));
  EXPECT_EQ(out, nullptr);
}

TEST_F(ComSupportTest, NullOutIsRefused) {
  EXPECT_EQ(create_instance_(media_server::kCodecComponentClassId, nullptr, 0, ICodecComponent::kInterfaceId, nullptr),
            static_cast<ComStatus>(0x80004003));
  EXPECT_TRUE(creation_texts.empty());
}

TEST_F(ComSupportTest, AggregationIsRefused) {
  void* out = kUntouched;
  EXPECT_EQ(create_instance_(media_server::kCodecComponentClassId, &server_, 0, IComObject::kInterfaceId, &out),
            static_cast<ComStatus>(0x80040110));
  EXPECT_EQ(out, nullptr);
}

TEST_F(ComSupportTest, FailureToMakeAMediaServerIsPassedOn) {
  created_server = nullptr;
  creation_status = platform::kInvalidArgument;
  void* out = kUntouched;
  EXPECT_EQ(create_instance_(media_server::kCodecComponentClassId, nullptr, 0, ICodecComponent::kInterfaceId, &out),
            platform::kInvalidArgument);
  EXPECT_EQ(out, nullptr);
}

TEST_F(ComSupportTest, SuccessWithoutAMediaServerIsAFailure) {
  created_server = nullptr;
  void* out = kUntouched;
  EXPECT_EQ(create_instance_(media_server::kCodecComponentClassId, nullptr, 0, ICodecComponent::kInterfaceId, &out),
            static_cast<ComStatus>(0x80004005));
  EXPECT_EQ(out, nullptr);
}

TEST_F(ComSupportTest, ComponentHasItsOwnAndTheCommonInterface) {
  const ComPtr<ICodecComponent> component = CreateComponent();
  const ComPtr<IComObject> common = component.Query<IComObject>();
  ASSERT_TRUE(common);
  EXPECT_EQ(common.Query<ICodecComponent>().Get(), component.Get());
  EXPECT_EQ(component->AddRef(), 3U);
  component->Release();

  void* out = kUntouched;
  EXPECT_EQ(component->QueryInterface(kUnknownId, &out), platform::kNoInterface);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(component->QueryInterface(IComObject::kInterfaceId, nullptr), platform::kInvalidPointer);
}

TEST_F(ComSupportTest, OpensThroughTheMediaServer) {
  server_.media_info = &media_info_;
  server_.answer = 1;
  const ComPtr<ICodecComponent> component = CreateComponent();
  ComPtr<IMediaInfo> media_info;
  EXPECT_EQ(component->OpenMediaInfo(u"/media/caf\u00E9.mp4", 0, 12, media_info.Put()), platform::kOk);
  EXPECT_EQ(media_info.Get(), &media_info_);
  EXPECT_EQ(media_info_.references, 1U);
  EXPECT_EQ(server_.opened_path, u"/media/caf\u00E9.mp4");
}

TEST_F(ComSupportTest, AnyAnswerButZeroIsSuccess) {
  server_.media_info = &media_info_;
  server_.answer = -1;
  const ComPtr<ICodecComponent> component = CreateComponent();
  ComPtr<IMediaInfo> media_info;
  EXPECT_EQ(component->OpenMediaInfo(u"a.mp4", 0, 12, media_info.Put()), platform::kOk);
}

TEST_F(ComSupportTest, FileThatCannotBeOpenedIsAFailure) {
  const ComPtr<ICodecComponent> component = CreateComponent();
  auto* out = static_cast<IMediaInfo*>(&media_info_);
  EXPECT_EQ(component->OpenMediaInfo(u"missing.mp4", 0, 12, &out), static_cast<ComStatus>(0x80004005));
  EXPECT_EQ(out, nullptr);

  server_.answer = 1;
  EXPECT_EQ(component->OpenMediaInfo(u"success without an object", 0, 12, &out), platform::kFail);
  EXPECT_EQ(out, nullptr);

  server_.media_info = &media_info_;
  server_.answer = 0;
  EXPECT_EQ(component->OpenMediaInfo(u"failure with an object", 0, 12, &out), platform::kFail);
  EXPECT_EQ(out, nullptr);
}

TEST_F(ComSupportTest, NullArgumentsOfOpenAreRefused) {
  const ComPtr<ICodecComponent> component = CreateComponent();
  auto* out = static_cast<IMediaInfo*>(&media_info_);
  EXPECT_EQ(component->OpenMediaInfo(nullptr, 0, 12, &out), platform::kInvalidArgument);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(component->OpenMediaInfo(u"a.mp4", 0, 12, nullptr), platform::kInvalidPointer);
  EXPECT_TRUE(server_.opened_path.empty());
}

TEST_F(ComSupportTest, ReferencesAreCountedAcrossThreads) {
  constexpr std::size_t kThreads = 4;
  const ComPtr<ICodecComponent> component = CreateComponent();
  {
    std::vector<std::jthread> threads(kThreads);
    for (std::jthread& thread : threads) {
      thread = std::jthread([&] {
        for (int round = 0; round < 1000; ++round) {
          component->AddRef();
          component->Release();
        }
      });
    }
  }
  EXPECT_EQ(component->AddRef(), 2U);
  EXPECT_EQ(component->Release(), 1U);
}

}  // namespace

std::int32_t CreateMediaServer(const char* media_info_path, const char* media_proxy_path, const char* app_path,
                               const char* app_res_path, const char* log_path, IMediaServer** out) {
  creation_texts = {media_info_path, media_proxy_path, app_path, app_res_path, log_path};
  *out = created_server;
  if (created_server) created_server->AddRef();
  return creation_status;
}
