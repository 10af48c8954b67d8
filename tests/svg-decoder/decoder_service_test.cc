#include <cstring>

#include "module.h"

namespace {

using service::ISession;

class ForeignSession : public ISession {};

using DecoderServiceTest = ModuleFixture;

TEST_F(DecoderServiceTest, IsTheModulesOneService) {
  EXPECT_STREQ(table_->name, "44B23A7F-C05F-4279-8396-F2DE559C2DCA");
  EXPECT_STREQ(table_->uuid, "44B23A7F-C05F-4279-8396-F2DE559C2DCA");
  EXPECT_EQ(table_->init, nullptr);
  EXPECT_EQ(table_->reserved3, 0u);
  EXPECT_EQ(table_->reserved7, 0u);
  EXPECT_EQ(table_->reserved8, 0u);
  table_->release(nullptr);
}

TEST_F(DecoderServiceTest, WritesNoTableWhenAnArgumentIsNull) {
  std::uint32_t count = 77;
  EXPECT_TRUE(get_module_info_(nullptr, &count));
  EXPECT_EQ(count, 77u);
  const service::ServiceDescriptor* table = nullptr;
  EXPECT_TRUE(get_module_info_(&table, nullptr));
  EXPECT_EQ(table, nullptr);
}

TEST_F(DecoderServiceTest, AnswersTheFixedQueries) {
  EXPECT_EQ(service_->FirstStateQuery(), 0u);
  EXPECT_TRUE(service_->SecondStateQuery());
  EXPECT_FALSE(service_->FinalQuery());
  std::uint32_t result = 77;
  EXPECT_EQ(service_->KeyedQuery(1, 2, &result), 0u);
  EXPECT_EQ(result, 0u);
  result = 77;
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, &result), 1u);
  EXPECT_EQ(result, 0u);
  EXPECT_EQ(service_->KeyedQuery(1, 2, nullptr), 0u);
  EXPECT_EQ(service_->KeyedRequest(1, 2, 3, nullptr), 1u);
}

TEST_F(DecoderServiceTest, DestroysItsOwnSessionsOnly) {
  ForeignSession foreign;
  EXPECT_EQ(service_->DestroySession(service_->CreateSession()), 0u);
  EXPECT_EQ(service_->DestroySession(&foreign), 1u);
  EXPECT_EQ(service_->DestroySession(nullptr), 1u);
}

TEST_F(DecoderServiceTest, ReleasesASharedSession) {
  std::shared_ptr<ISession> session = service_->CreateSharedSession(0);
  const std::weak_ptr<ISession> watch = session;
  EXPECT_EQ(service_->ReleaseSharedSession(std::move(session)), 0u);
  EXPECT_TRUE(watch.expired());
}

TEST_F(DecoderServiceTest, MayGoBeforeItsSharedSessions) {
  service::IService* short_lived = table_->create();
  const auto session = std::dynamic_pointer_cast<service::ISVGDecodeSink>(short_lived->CreateSharedSession(0));
  table_->release(short_lived);
  session->SetSource(folder_.Make("a.svg", "<svg/>").c_str());
  EXPECT_EQ(session->Load(0, 0), 1u);
}

}  // namespace
