#include "platform/com_ptr.h"

#include <gtest/gtest.h>

namespace platform {
namespace {

class Other : public IComObject {
 public:
  static constexpr Guid kInterfaceId{1, 2, 3, {4}};

 protected:
  ~Other() = default;
};

/// Has the interface `Other` when asked to, and counts.
class Object final : public Other {
 public:
  ComStatus QueryInterface(const Guid& id, void** out) override {
    *out = nullptr;
    if (!has_other || !(id == Other::kInterfaceId)) return kNoInterface;
    ++references;
    *out = static_cast<Other*>(this);
    return kOk;
  }
  std::uint32_t AddRef() override { return static_cast<std::uint32_t>(++references); }
  std::uint32_t Release() override { return static_cast<std::uint32_t>(--references); }

  int references = 0;
  bool has_other = true;
};

TEST(ComPtrTest, TakesAReferenceOfItsOwn) {
  Object object;
  {
    const ComPtr<Object> owner(&object);
    EXPECT_EQ(object.references, 1);
  }
  EXPECT_EQ(object.references, 0);
}

TEST(ComPtrTest, AddsAReferenceForACopyAndNoneForAMove) {
  Object object;
  ComPtr<Object> owner(&object);
  const ComPtr<Object> copy = owner;
  EXPECT_EQ(object.references, 2);
  const ComPtr<Object> moved = std::move(owner);
  EXPECT_EQ(object.references, 2);
}

TEST(ComPtrTest, ReleasesWhatItHeldWhenAssigned) {
  Object first;
  Object second;
  ComPtr<Object> owner(&first);
  owner = ComPtr<Object>(&second);
  EXPECT_EQ(first.references, 0);
  EXPECT_EQ(second.references, 1);
}

TEST(ComPtrTest, AttachesAndDetachesWithoutCounting) {
  Object object;
  object.references = 1;
  auto owner = ComPtr<Object>::Attach(&object);
  EXPECT_EQ(object.references, 1);
  EXPECT_EQ(owner.Detach(), &object);
  EXPECT_EQ(object.references, 1);
  EXPECT_FALSE(owner);
}

TEST(ComPtrTest, ReleasesBeforeItIsPutAnew) {
  Object object;
  ComPtr<Object> owner(&object);
  Object** const out = owner.Put();
  EXPECT_EQ(object.references, 0);
  EXPECT_EQ(*out, nullptr);
}

TEST(ComPtrTest, OwnsTheInterfaceThatItAskedFor) {
  Object object;
  const ComPtr<Object> owner(&object);
  {
    const ComPtr<Other> other = owner.Query<Other>();
    EXPECT_EQ(other.Get(), &object);
    EXPECT_EQ(object.references, 2);
  }
  EXPECT_EQ(object.references, 1);
  object.has_other = false;
  EXPECT_FALSE(owner.Query<Other>());
  EXPECT_EQ(object.references, 1);
}

}  // namespace
}  // namespace platform
