#include "core/val_any.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <utility>

#include "core/rational.h"
#include "mediainfo/aigc_meta.h"

namespace core {
namespace {

using service::mediainfo::metedata_keys::AIGC_META;

/// A boxed value that counts its living copies.
class Counted {
 public:
  explicit Counted(int* living) : living_(living) { ++*living_; }
  Counted(const Counted& other) : Counted(other.living_) {}
  Counted& operator=(const Counted&) = delete;
  ~Counted() { --*living_; }

 private:
  int* living_;
};

std::uint32_t Tag(const ValAny& value) { return static_cast<std::uint32_t>(value.type()); }

/// The payload and the tag of a holder, as other modules see them.
std::pair<std::uint64_t, std::uint32_t> Words(const ValAny& value) {
  const void* words = &value;
  std::pair<std::uint64_t, std::uint32_t> copy;
  std::memcpy(&copy.first, words, sizeof(copy.first));
  std::memcpy(&copy.second, static_cast<const char*>(words) + sizeof(copy.first), sizeof(copy.second));
  return copy;
}

/// A holder as another module may have made it.
ValAny WithWords(std::uint64_t payload, std::uint32_t tag) {
  ValAny value;
  void* words = &value;
  std::memcpy(words, &payload, sizeof(payload));
  std::memcpy(static_cast<char*>(words) + sizeof(payload), &tag, sizeof(tag));
  return value;
}

ValAny CopyOf(const ValAny& value) { return value; }

TEST(ValAnyTest, StartsEmpty) { EXPECT_EQ(Tag(ValAny()), 0u); }

TEST(ValAnyTest, TagsEachType) {
  EXPECT_EQ(Tag(ValAny::FromInt32(1)), 2u);
  EXPECT_EQ(Tag(ValAny::FromUInt32(1)), 3u);
  EXPECT_EQ(Tag(ValAny::FromInt64(1)), 4u);
  EXPECT_EQ(Tag(ValAny::FromUInt64(1)), 5u);
  EXPECT_EQ(Tag(ValAny::FromFloat(1)), 6u);
  EXPECT_EQ(Tag(ValAny::FromDouble(1)), 7u);
  EXPECT_EQ(Tag(ValAny::FromBuffer("")), 8u);
  EXPECT_EQ(Tag(ValAny::Box(Rational{})), 272u);
}

TEST(ValAnyTest, HoldsNumbersInThePayload) {
  EXPECT_EQ(Words(ValAny::FromInt32(-1)), std::pair(0xFFFFFFFFul, 2u));
  EXPECT_EQ(Words(ValAny::FromInt64(-1)), std::pair(0xFFFFFFFFFFFFFFFFul, 4u));
  EXPECT_EQ(Words(ValAny::FromFloat(1.0F)), std::pair(0x3F800000ul, 6u));
  EXPECT_EQ(Words(ValAny::FromDouble(1.0)), std::pair(0x3FF0000000000000ul, 7u));
}

TEST(ValAnyTest, ReadsTheLowHalfOfThePayloadForTypesOf32Bits) {
  EXPECT_EQ(WithWords(0x55555555FFFFFFFB, 2).AsInt32(), -5);
  EXPECT_EQ(WithWords(0x5555555500000005, 3).AsInt32(), 5);
  EXPECT_EQ(WithWords(0x55555555FFFFFFFB, 2).AsDouble(), -5.0);
  EXPECT_EQ(WithWords(0x55555555FFFFFFFF, 3).AsDouble(), 4294967295.0);
  EXPECT_EQ(WithWords(0x555555553F800000, 6).AsDouble(), 1.0);
}

TEST(ValAnyTest, ReadsIntegersThatFit) {
  EXPECT_EQ(ValAny::FromInt32(-5).AsInt32(), -5);
  EXPECT_EQ(ValAny::FromUInt32(2147483647).AsInt32(), 2147483647);
  EXPECT_EQ(ValAny::FromInt64(-2147483648).AsInt32(), -2147483648);
  EXPECT_EQ(ValAny::FromInt64(2147483647).AsInt32(), 2147483647);
  EXPECT_EQ(ValAny::FromUInt64(2147483647).AsInt32(), 2147483647);
}

TEST(ValAnyTest, RefusesIntegersThatDoNotFit) {
  EXPECT_THROW(ValAny::FromUInt32(2147483648).AsInt32(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromUInt32(4294967295).AsInt32(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromInt64(2147483648).AsInt32(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromInt64(-2147483649).AsInt32(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromUInt64(2147483648).AsInt32(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromUInt64(std::numeric_limits<std::uint64_t>::max()).AsInt32(), AnyBadAccess);
}

TEST(ValAnyTest, ReadsWideIntegers) {
  EXPECT_EQ(ValAny::FromInt32(-5).AsInt64(), -5);
  EXPECT_EQ(ValAny::FromUInt32(4294967295).AsInt64(), 4294967295);
  EXPECT_EQ(ValAny::FromInt64(-5'000'000'000).AsInt64(), -5'000'000'000);
  EXPECT_EQ(ValAny::FromUInt64(9223372036854775807u).AsInt64(), 9223372036854775807);
  EXPECT_THROW(ValAny::FromUInt64(9223372036854775808u).AsInt64(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromDouble(1).AsInt64(), AnyBadAccess);
}

TEST(ValAnyTest, RefusesOtherTypesAsIntegers) {
  EXPECT_THROW(ValAny().AsInt32(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromFloat(1).AsInt32(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromDouble(1).AsInt32(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromBuffer("").AsInt32(), AnyBadAccess);
  EXPECT_THROW(ValAny::Box(Rational{}).AsInt32(), AnyBadAccess);
}

TEST(ValAnyTest, ReadsEveryNumberAsDouble) {
  EXPECT_EQ(ValAny::FromInt32(-5).AsDouble(), -5.0);
  EXPECT_EQ(ValAny::FromUInt32(4294967295).AsDouble(), 4294967295.0);
  EXPECT_EQ(ValAny::FromInt64(-5).AsDouble(), -5.0);
  EXPECT_EQ(ValAny::FromUInt64(0x8000000000000000).AsDouble(), 9223372036854775808.0);
  EXPECT_EQ(ValAny::FromFloat(0.5F).AsDouble(), 0.5);
  EXPECT_EQ(ValAny::FromDouble(0.1).AsDouble(), 0.1);
}

TEST(ValAnyTest, RefusesOtherTypesAsDouble) {
  EXPECT_THROW(ValAny().AsDouble(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromBuffer("").AsDouble(), AnyBadAccess);
  EXPECT_THROW(ValAny::Box(Rational{}).AsDouble(), AnyBadAccess);
}

TEST(ValAnyTest, ReadsOnlyBuffersAsBuffers) {
  const char text[] = "text";
  EXPECT_EQ(ValAny::FromBuffer(text).AsBuffer<const char>(), text);
  EXPECT_EQ(ValAny::FromBuffer(nullptr).AsBuffer(), nullptr);
  EXPECT_THROW(ValAny().AsBuffer(), AnyBadAccess);
  EXPECT_THROW(ValAny::FromInt64(0).AsBuffer(), AnyBadAccess);
  EXPECT_THROW(ValAny::Box(Rational{}).AsBuffer(), AnyBadAccess);
}

TEST(ValAnyTest, TellsBadAccessInFixedWords) {
  const AnyBadAccess error;
  const std::logic_error& base = error;
  EXPECT_STREQ(base.what(), "ValAny Bad Access");
}

TEST(ValAnyTest, SharesABufferBetweenCopies) {
  const ValAny value = ValAny::FromBuffer("text");
  const ValAny copy = CopyOf(value);
  EXPECT_EQ(copy.AsBuffer(), value.AsBuffer());
}

TEST(ValAnyTest, ClonesABoxedObjectIntoACopy) {
  int living = 0;
  {
    const ValAny value = ValAny::Box(Counted(&living));
    EXPECT_EQ(living, 1);
    const ValAny copy = CopyOf(value);
    EXPECT_EQ(living, 2);
    EXPECT_NE(copy.AsBoxed<Counted>(), value.AsBoxed<Counted>());
    ValAny assigned = ValAny::Box(Counted(&living));
    assigned = value;
    EXPECT_EQ(living, 3);
  }
  EXPECT_EQ(living, 0);
}

TEST(ValAnyTest, DestroysABoxedObjectThatIsOverwrittenOrReset) {
  int living = 0;
  ValAny value = ValAny::Box(Counted(&living));
  value = ValAny::FromInt32(1);
  EXPECT_EQ(living, 0);
  value = ValAny::Box(Counted(&living));
  value.Reset();
  EXPECT_EQ(living, 0);
  EXPECT_EQ(Tag(value), 0u);
}

TEST(ValAnyTest, KeepsItsObjectWhenAssignedToItself) {
  int living = 0;
  ValAny value = ValAny::Box(Counted(&living));
  const ValAny& same = value;
  value = same;
  EXPECT_EQ(living, 1);
  EXPECT_NE(value.AsBoxed<Counted>(), nullptr);
}

TEST(ValAnyTest, LeavesNothingBehindWhenMoved) {
  int living = 0;
  ValAny value = ValAny::Box(Counted(&living));
  const ValAny moved = std::move(value);
  EXPECT_EQ(living, 1);
  EXPECT_EQ(moved.type(), ValType::kBoxed);
}

TEST(ValAnyTest, TakesABoxedTagWithoutAnObject) {
  const ValAny value = ValAny::FromBoxed(nullptr);
  const ValAny copy = CopyOf(value);
  EXPECT_EQ(Tag(copy), 272u);
  EXPECT_EQ(copy.AsBoxed<Rational>(), nullptr);
}

TEST(ValAnyTest, OwnsAnObjectUnderEveryTagFrom255On) {
  for (const std::uint32_t tag : {255u, 256u, 271u, 272u, 273u, 0x80000000u, 0xFFFFFFFFu}) {
    int living = 0;
    {
      detail::IBoxedObj* object = new detail::BoxedObj<Counted>(Counted(&living));
      ValAny value = WithWords(reinterpret_cast<std::uintptr_t>(object), tag);
      const ValAny copy = CopyOf(value);
      EXPECT_EQ(living, 2) << tag;
      EXPECT_EQ(Tag(copy), tag);
      value = ValAny::FromInt32(1);
      EXPECT_EQ(living, 1) << tag;
    }
    EXPECT_EQ(living, 0) << tag;
  }
}

TEST(ValAnyTest, CopiesWhatIsNotBoxedBitwise) {
  for (const std::uint32_t tag : {0u, 1u, 9u, 100u, 254u}) {
    const ValAny value = WithWords(0x123456789ABCDEF0, tag);
    EXPECT_EQ(Words(CopyOf(value)), Words(value)) << tag;
    EXPECT_THROW(value.AsInt32(), AnyBadAccess) << tag;
    EXPECT_THROW(value.AsDouble(), AnyBadAccess) << tag;
    EXPECT_THROW(value.AsBuffer(), AnyBadAccess) << tag;
  }
}

TEST(ValAnyTest, GivesABoxedValueOnlyAsItsOwnType) {
  const ValAny value = ValAny::Box(Rational{30000, 1001});
  ASSERT_NE(value.AsBoxed<Rational>(), nullptr);
  EXPECT_EQ(*value.AsBoxed<Rational>(), (Rational{30000, 1001}));
  EXPECT_EQ(value.AsBoxed<AIGC_META>(), nullptr);
  EXPECT_EQ(ValAny::FromInt64(1).AsBoxed<Rational>(), nullptr);
}

TEST(BoxedObjTest, ClonesToItsOwnType) {
  const detail::BoxedObj<Rational> object({1, 2});
  EXPECT_TRUE(object.IsValid());
  const std::unique_ptr<detail::IBoxedObj> clone(static_cast<const detail::IBoxedObj&>(object).Clone());
  const auto* rational = dynamic_cast<const detail::BoxedObj<Rational>*>(clone.get());
  ASSERT_NE(rational, nullptr);
  EXPECT_EQ(rational->value(), (Rational{1, 2}));
}

}  // namespace
}  // namespace core
