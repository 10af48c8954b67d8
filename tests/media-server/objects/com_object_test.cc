#include "media-server/objects/com_object.h"

#include <gtest/gtest.h>

#include "platform/com_ptr.h"

namespace media_server {
namespace {

class IFirst : public platform::IComObject {
 public:
  static constexpr platform::Guid kInterfaceId{1, 0, 0, {}};
  virtual int First() = 0;

 protected:
  ~IFirst() = default;
};
class ISecond : public platform::IComObject {
 public:
  static constexpr platform::Guid kInterfaceId{2, 0, 0, {}};
  virtual int Second() = 0;

 protected:
  ~ISecond() = default;
};
class IOther : public platform::IComObject {
 public:
  static constexpr platform::Guid kInterfaceId{3, 0, 0, {}};

 protected:
  ~IOther() = default;
};

class Object final : public ComObject<IFirst, ISecond> {
 public:
  explicit Object(bool* alive) : alive_(alive) { *alive_ = true; }
  int First() override { return 1; }
  int Second() override { return 2; }

 private:
  ~Object() override { *alive_ = false; }
  bool* alive_;
};

TEST(ComObjectTest, StartsWithOneReferenceAndDiesWithTheLast) {
  bool alive = false;
  IFirst* object = new Object(&alive);
  EXPECT_EQ(object->AddRef(), 2u);
  EXPECT_EQ(object->Release(), 1u);
  EXPECT_TRUE(alive);
  EXPECT_EQ(object->Release(), 0u);
  EXPECT_FALSE(alive);
}

TEST(ComObjectTest, GivesEachInterfaceWithAReference) {
  bool alive = false;
  auto object = platform::ComPtr<IFirst>::Attach(new Object(&alive));
  auto second = object.Query<ISecond>();
  ASSERT_TRUE(second);
  EXPECT_EQ(second->Second(), 2);
  object.Reset();
  EXPECT_TRUE(alive) << "the second interface holds a reference of its own";
  EXPECT_TRUE(second.Query<IFirst>());
  EXPECT_TRUE(second.Query<platform::IComObject>());
  second.Reset();
  EXPECT_FALSE(alive);
}

TEST(ComObjectTest, RefusesAnUnknownInterfaceAndNullsTheAnswer) {
  bool alive = false;
  const auto object = platform::ComPtr<IFirst>::Attach(new Object(&alive));
  void* out = &alive;
  EXPECT_EQ(object->QueryInterface(IOther::kInterfaceId, &out), platform::kNoInterface);
  EXPECT_EQ(out, nullptr);
  EXPECT_EQ(object->QueryInterface(IFirst::kInterfaceId, nullptr), platform::kInvalidPointer);
  EXPECT_EQ(object->AddRef(), 2u) << "no reference was left behind";
  object->Release();
}

}  // namespace
}  // namespace media_server
